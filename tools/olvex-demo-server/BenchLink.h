#pragma once

#include <QObject>
#include <QPointer>

#include "tools/olvex-demo-server/TelnetInput.h"

class QTcpServer;
class QTcpSocket;
class QTimer;

// The client side of a benchmark run: accepts the first connection (later
// ones are turned away), says when the client is ready to be measured, hands
// on the lines it sends, and gives up when the client goes away or a phase
// takes longer than the time limit.
class BenchLink final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BenchLink)

public:
    static constexpr int kDefaultTimeoutMs = 120000;

    explicit BenchLink(QObject* parent = nullptr);

    // On 127.0.0.1; port 0 picks a free one.
    bool listen(quint16 port);
    quint16 port() const;
    QString errorString() const;

    // Null until a client has connected, and again once it has gone.
    QTcpSocket* socket() const;
    void setTimeoutMs(int ms);
    // Starts the time limit again for the next phase of the run.
    void restartTimeout();
    // Stops reporting anything: the run is over.
    void finish();

signals:
    // The client has sent its first bytes, or has kept quiet for a moment
    // after connecting (some clients wait for the server to speak first).
    void ready();
    void lineReceived(const QString& line);
    void failed(const QString& reason);

private:
    void onNewConnection();
    void onReadyRead();
    void onDisconnected();
    void onTimeout();
    void becomeReady();

    static constexpr int kQuietStartMs = 300;

    QTcpServer* listener;
    QTimer* quietTimer;
    QTimer* timeoutTimer;
    QPointer<QTcpSocket> client;
    TelnetInput input;
    bool accepted = false;
    bool isReady = false;
    bool done = false;
};
