#include "tools/olvex-demo-server/PingBench.h"

#include <QRegularExpression>
#include <QTcpSocket>

#include <algorithm>

#include "tools/olvex-demo-server/BenchLink.h"

PingBench::PingBench(int count, BenchLink* link, QObject* parent)
    : QObject(parent)
    , link(link)
    , count(count)
{
    connect(link, &BenchLink::ready, this, &PingBench::onReady);
    connect(link, &BenchLink::lineReceived, this, &PingBench::onLineReceived);
    connect(link, &BenchLink::failed, this, &PingBench::onFailed);
}

qint64 PingBench::percentile(QList<qint64> samples, int percent)
{
    if (samples.isEmpty())
        return 0;
    std::sort(samples.begin(), samples.end());
    const qint64 rank = (qint64(samples.size()) * percent + 99) / 100; // ceil, 1-based
    return samples.at(std::clamp<qint64>(rank, 1, samples.size()) - 1);
}

void PingBench::onReady()
{
    roundTripsUs.reserve(count);
    sendPing();
}

void PingBench::sendPing()
{
    ++current;
    link->restartTimeout();
    clock.start();
    link->socket()->write("BENCH-PING " + QByteArray::number(current) + '\n');
    link->socket()->flush();
}

void PingBench::onLineReceived(const QString& line)
{
    static const QRegularExpression pong(QStringLiteral("BENCH-PONG (\\d+)"));
    const QRegularExpressionMatch match = pong.match(line);
    // Stray or late answers (a client that echoes, a trigger that fires
    // twice) do not count; only the answer to the ping in flight does.
    if (current == 0 || !match.hasMatch() || match.captured(1).toInt() != current)
        return;
    roundTripsUs << clock.nsecsElapsed() / 1000;
    if (current < count) {
        sendPing();
        return;
    }
    link->finish();
    emit finished(true, QStringLiteral("ping count=%1 p50_us=%2 p99_us=%3 max_us=%4")
                            .arg(count)
                            .arg(percentile(roundTripsUs, 50))
                            .arg(percentile(roundTripsUs, 99))
                            .arg(percentile(roundTripsUs, 100)));
}

void PingBench::onFailed(const QString& reason)
{
    link->finish();
    emit finished(false, QStringLiteral("ping benchmark failed: %1").arg(reason));
}
