#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>

class BenchLink;

// Latency run: sends "BENCH-PING i" lines one at a time, each after the
// client has answered the previous one with "BENCH-PONG i", and reports the
// round trips in microseconds.
class PingBench final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PingBench)

public:
    PingBench(int count, BenchLink* link, QObject* parent = nullptr);

    // Nearest-rank percentile (0 < percent <= 100) of the samples.
    static qint64 percentile(QList<qint64> samples, int percent);

signals:
    // On success the report is "ping count=N p50_us=.. p99_us=.. max_us=..".
    void finished(bool ok, const QString& report);

private:
    void onReady();
    void onLineReceived(const QString& line);
    void onFailed(const QString& reason);
    void sendPing();

    BenchLink* link;
    QElapsedTimer clock;
    QList<qint64> roundTripsUs;
    int count;
    int current = 0; // number of the ping awaiting its answer; 0 before the first
};
