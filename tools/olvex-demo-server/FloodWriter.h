#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <functional>

class QTcpSocket;

// Writes a run of flood lines to a socket as fast as the peer reads them,
// keeping at most a few hundred kilobytes queued so a flood of millions of
// lines does not sit in memory. The socket may go away at any moment; the
// writer then simply stops.
class FloodWriter final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FloodWriter)

public:
    // Lines 0..lineCount-1 of FloodText, each followed by a line feed, then
    // the trailer unchanged.
    FloodWriter(QTcpSocket* socket, qint64 lineCount, QByteArray trailer, QObject* parent);

    // Applied to every chunk before it is written (the player's compression).
    void setEncoder(std::function<QByteArray(const QByteArray&)> encode) { encoder = std::move(encode); }
    void start();
    qint64 bytesQueued() const { return queued; }

signals:
    // Everything, trailer included, has been handed to the socket.
    void finished();

private:
    void onBytesWritten();
    void fill();

    static constexpr qint64 kHighWater = 256 * 1024;
    static constexpr int kChunkBytes = 64 * 1024;

    QPointer<QTcpSocket> socket;
    qint64 lineCount;
    qint64 nextLine = 0;
    QByteArray trailer;
    std::function<QByteArray(const QByteArray&)> encoder;
    qint64 queued = 0;
    bool done = false;
};
