#include "tools/olvex-demo-server/FloodBench.h"

#include "tools/olvex-demo-server/BenchLink.h"
#include "tools/olvex-demo-server/FloodWriter.h"

FloodBench::FloodBench(qint64 lineCount, BenchLink* link, QObject* parent)
    : QObject(parent)
    , link(link)
    , lineCount(lineCount)
{
    connect(link, &BenchLink::ready, this, &FloodBench::onReady);
    connect(link, &BenchLink::lineReceived, this, &FloodBench::onLineReceived);
    connect(link, &BenchLink::failed, this, &FloodBench::onFailed);
}

void FloodBench::onReady()
{
    link->restartTimeout();
    writer = new FloodWriter(link->socket(), lineCount, QByteArray(kSentinel) + '\n', this);
    clock.start();
    writer->start();
}

void FloodBench::onLineReceived(const QString& line)
{
    if (!writer || !line.contains(QLatin1String(kAck)))
        return;
    const qint64 ms = clock.elapsed();
    link->finish();
    emit finished(
        true,
        QStringLiteral("flood lines=%1 bytes=%2 ms=%3").arg(lineCount).arg(writer->bytesQueued()).arg(ms));
}

void FloodBench::onFailed(const QString& reason)
{
    link->finish();
    emit finished(false, QStringLiteral("flood benchmark failed: %1").arg(reason));
}
