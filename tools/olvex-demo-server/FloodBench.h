#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

class BenchLink;
class FloodWriter;

// Throughput run: floods the first client with game text followed by a
// sentinel line and measures the time until the client acknowledges it, that
// is until it has read, run its triggers over and answered the whole flood.
class FloodBench final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FloodBench)

public:
    static constexpr char kSentinel[] = "BENCH-SENTINEL-END";
    static constexpr char kAck[] = "BENCH-ACK";

    FloodBench(qint64 lineCount, BenchLink* link, QObject* parent = nullptr);

signals:
    // On success the report is "flood lines=N bytes=B ms=T".
    void finished(bool ok, const QString& report);

private:
    void onReady();
    void onLineReceived(const QString& line);
    void onFailed(const QString& reason);

    BenchLink* link;
    QPointer<FloodWriter> writer;
    QElapsedTimer clock;
    qint64 lineCount;
};
