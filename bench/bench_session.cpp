// Lines per second through a GameSession: 10 MB of coloured game text from a
// server on loopback (a QTcpServer in this process) through the connection,
// the telnet parser, line assembly, the triggers and the channel detector, to
// the moment the last line leaves in GameSession::textReceived. No screen is
// attached; bench_flood_client measures the whole client.
//
// Reproduce (Release build):
//   cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release
//   cmake --build build-release --target bench_session
//   build-release/bench_session [runs]

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <vector>

#include "BenchSupport.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"

namespace {

constexpr qint64 kFloodBytes = 10 * 1024 * 1024;
constexpr int kDefaultRuns = 5;
constexpr int kGiveUpMs = 120000;

const char* const kReproduce = "cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release && "
                               "cmake --build build-release --target bench_session && "
                               "build-release/bench_session";

struct Flood {
    QByteArray bytes;
    int lines = 0;
};

Flood makeFlood()
{
    Flood flood;
    flood.bytes.reserve(kFloodBytes + 256);
    while (flood.bytes.size() < kFloodBytes) {
        flood.bytes += bench::colouredLine(flood.lines++);
        flood.bytes += "\r\n";
    }
    return flood;
}

struct Result {
    double wallSeconds = 0;
    double cpuSeconds = 0;
};

// One run: a fresh session connects, the server writes the whole flood at
// once, the clock stops when the session hands on the flood's last line.
Result runOnce(const Flood& flood, int triggerCount, int run)
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost)) {
        std::fprintf(stderr, "bench_session: cannot listen: %s\n", qPrintable(server.errorString()));
        std::exit(1);
    }

    Character character;
    character.name = QStringLiteral("Flood%1x%2").arg(run).arg(triggerCount);
    character.host = QStringLiteral("127.0.0.1");
    character.port = server.serverPort();
    Scripts scripts;
    scripts.triggers = bench::idleTriggers(triggerCount);
    Storage::instance()->setScripts(character, scripts);

    auto session = std::make_unique<GameSession>(character, nullptr);
    QElapsedTimer clock;
    double cpuStart = 0;
    Result result;
    int linesSeen = 0;
    int fired = 0;
    QObject::connect(session->getScriptEngine(), &ScriptEngine::triggerFired, [&fired] { ++fired; });
    QObject::connect(session.get(), &GameSession::textReceived, [&](const QString& text) {
        if (text.isEmpty())
            return;
        linesSeen += int(text.count(QLatin1Char('\n')));
        if (linesSeen < flood.lines)
            return;
        result.wallSeconds = clock.nsecsElapsed() / 1e9;
        result.cpuSeconds = bench::processCpuSeconds() - cpuStart;
        QCoreApplication::exit(0);
    });
    QObject::connect(&server, &QTcpServer::newConnection, [&] {
        QTcpSocket* peer = server.nextPendingConnection();
        clock.start();
        cpuStart = bench::processCpuSeconds();
        peer->write(flood.bytes);
    });
    QTimer giveUp;
    giveUp.setSingleShot(true);
    QObject::connect(&giveUp, &QTimer::timeout, [&] {
        std::fprintf(stderr, "bench_session: only %d of %d lines arrived\n", linesSeen, flood.lines);
        std::exit(1);
    });
    giveUp.start(kGiveUpMs);

    session->connect();
    QCoreApplication::exec();
    if (fired != 0)
        std::fprintf(stderr, "bench_session: %d lines fired a trigger meant never to fire\n", fired);
    session->disconnect();
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    bench::isolateDataDirectory();
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? qMax(1, atoi(argv[1])) : kDefaultRuns;

    const Flood flood = makeFlood();
    std::printf("bench_session: %d lines, %.1f MB of coloured text over loopback, median of %d runs\n",
                flood.lines, flood.bytes.size() / 1048576.0, runs);
    std::printf("reproduce: %s %d\n", kReproduce, runs);

    // The two cases alternate so a change in the machine's load hits both.
    const int triggerCounts[] = {0, 100};
    std::vector<double> wall[2];
    std::vector<double> cpu[2];
    for (int run = 0; run < runs; ++run) {
        for (int c = 0; c < 2; ++c) {
            const Result result = runOnce(flood, triggerCounts[c], run);
            wall[c].push_back(flood.lines / result.wallSeconds);
            cpu[c].push_back(flood.lines / result.cpuSeconds);
        }
    }
    for (int c = 0; c < 2; ++c) {
        std::printf("session %3d triggers: %9.0f lines/s wall, %9.0f lines/s of CPU time\n", triggerCounts[c],
                    bench::median(wall[c]), bench::median(cpu[c]));
    }
    return 0;
}
