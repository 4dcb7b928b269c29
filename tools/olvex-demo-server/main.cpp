// olvex-demo-server: a small MUD for trying the client out, and the far end
// of the client's throughput and latency benchmarks.
//
//   olvex-demo-server [port]                 play on 127.0.0.1 (default 4000)
//   olvex-demo-server --port 0               pick a free port
//   olvex-demo-server --bench-flood N [--port P]
//   olvex-demo-server --bench-ping N [--port P]
//
// The first line on standard output is always "listening <port>", so a
// script can start the server on port 0 and learn where to connect.

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

#include "tools/olvex-demo-server/BenchLink.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/FloodBench.h"
#include "tools/olvex-demo-server/PingBench.h"

namespace {

constexpr quint16 kDefaultPort = 4000;

void announcePort(quint16 port)
{
    std::printf("listening %u\n", unsigned(port));
    std::fflush(stdout);
}

int fail(const QString& message)
{
    std::fprintf(stderr, "olvex-demo-server: %s\n", qPrintable(message));
    return 1;
}

// Prints the bench's result and leaves the event loop with its status.
template <typename Bench> void reportWhenFinished(Bench* bench)
{
    QObject::connect(bench, &Bench::finished, qApp, [](bool ok, const QString& report) {
        std::fprintf(ok ? stdout : stderr, "%s\n", qPrintable(report));
        std::fflush(stdout);
        QCoreApplication::exit(ok ? 0 : 1);
    });
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("olvex-demo-server"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Demo MUD server for the Olvex client."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("port"),
                                 QStringLiteral("Port on 127.0.0.1 (default 4000; 0 = any free)."));
    const QCommandLineOption portOption(
        QStringLiteral("port"), QStringLiteral("Port on 127.0.0.1 (0 = any free)."), QStringLiteral("P"));
    const QCommandLineOption floodOption(
        QStringLiteral("bench-flood"),
        QStringLiteral("Send N lines and a sentinel to the first client, time its BENCH-ACK."),
        QStringLiteral("N"));
    const QCommandLineOption pingOption(
        QStringLiteral("bench-ping"),
        QStringLiteral("Time N BENCH-PING/BENCH-PONG round trips with the first client."),
        QStringLiteral("N"));
    parser.addOptions({portOption, floodOption, pingOption});
    parser.process(app);

    QString portText = parser.value(portOption);
    if (portText.isEmpty() && !parser.positionalArguments().isEmpty())
        portText = parser.positionalArguments().constFirst();
    bool ok = true;
    const uint port = portText.isEmpty() ? kDefaultPort : portText.toUInt(&ok);
    if (!ok || port > 65535)
        return fail(QStringLiteral("not a port number: %1").arg(portText));

    const bool flood = parser.isSet(floodOption);
    const bool ping = parser.isSet(pingOption);
    if (flood && ping)
        return fail(QStringLiteral("choose one of --bench-flood and --bench-ping"));

    if (flood || ping) {
        const QString countText = parser.value(flood ? floodOption : pingOption);
        const qint64 count = countText.toLongLong(&ok);
        if (!ok || count < 1 || (ping && count > 10000000))
            return fail(QStringLiteral("not a positive count: %1").arg(countText));
        auto* link = new BenchLink(&app);
        if (!link->listen(quint16(port)))
            return fail(link->errorString());
        if (flood)
            reportWhenFinished(new FloodBench(count, link, &app));
        else
            reportWhenFinished(new PingBench(int(count), link, &app));
        announcePort(link->port());
        return app.exec();
    }

    auto* server = new DemoServer(&app);
    if (!server->listen(quint16(port)))
        return fail(server->errorString());
    announcePort(server->port());
    return app.exec();
}
