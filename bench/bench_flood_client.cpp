// The client's end of the demo server's throughput and latency runs: the main
// window with one game tab, exactly as a player who pressed Connect has it,
// and the triggers a player keeps. The server measures; this program answers
// through a trigger, leaves when the server hangs up and reports its own peak
// memory.
//
//   olvex-demo-server --bench-flood 100000 --port 0     (prints "listening P")
//   bench_flood_client --port P                         (100 idle triggers)
//   bench_flood_client --port P --standard --expect-last TEXT
//   olvex-demo-server --bench-ping 1000 --port 0
//   bench_flood_client --port P --ping
//
// bench/run-comparison.sh runs both, several times, against TinTin++ too.

#include <QApplication>
#include <QCommandLineParser>
#include <QTextDocument>
#include <QTimer>

#include <cstdio>

#include "BenchSupport.h"
#include "app/MainWindow.h"
#include "session/GameFeature.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"

namespace {

constexpr int kGiveUpMs = 180000;

} // namespace

int main(int argc, char** argv)
{
    bench::isolateDataDirectory();
    QApplication app(argc, argv);
    bench::setUpLikeTheClient(app);

    QCommandLineParser options;
    const QCommandLineOption portOption(QStringLiteral("port"), QStringLiteral("Server port."),
                                        QStringLiteral("P"));
    const QCommandLineOption pingOption(QStringLiteral("ping"),
                                        QStringLiteral("Answer pings instead of a flood."));
    const QCommandLineOption triggersOption(QStringLiteral("idle-triggers"),
                                            QStringLiteral("Triggers that never fire (default 100)."),
                                            QStringLiteral("N"), QStringLiteral("100"));
    const QCommandLineOption standardOption(
        QStringLiteral("standard"),
        QStringLiteral("Play with the standard telnet and conveniences switches on."));
    const QCommandLineOption lastOption(QStringLiteral("expect-last"),
                                        QStringLiteral("Report whether this text is on screen at the end."),
                                        QStringLiteral("TEXT"));
    options.addHelpOption();
    options.addOptions({portOption, pingOption, triggersOption, standardOption, lastOption});
    options.process(app);
    const int port = options.value(portOption).toInt();
    if (port <= 0) {
        std::fprintf(stderr, "bench_flood_client: --port is required\n");
        return 2;
    }

    Character character;
    character.name = QStringLiteral("Bench");
    character.host = QStringLiteral("127.0.0.1");
    character.port = port;
    character.mudName = QStringLiteral("Bench");

    // Stored before the session exists, so the session loads them the way it
    // loads a player's own scripts.
    Scripts scripts;
    scripts.triggers = bench::idleTriggers(options.value(triggersOption).toInt());
    if (options.isSet(pingOption))
        scripts.triggers.append(bench::answerTrigger(QStringLiteral("^BENCH-PING (\\d+)"), true,
                                                     QStringLiteral("BENCH-PONG $1")));
    else
        scripts.triggers.append(
            bench::answerTrigger(QStringLiteral("BENCH-SENTINEL-END"), false, QStringLiteral("BENCH-ACK")));
    Storage::instance()->setCharacters({character});
    Storage::instance()->setScripts(character, scripts);
    if (options.isSet(standardOption))
        Storage::instance()->setEnabledFeatures(
            character, {int(GameFeature::StandardTelnet), int(GameFeature::ClientConveniences)});

    MainWindow window;
    window.show();
    window.onConnectPressed(character);
    GameSession* session = SessionManager::instance()->getSession(character);
    if (!session) {
        std::fprintf(stderr, "bench_flood_client: no session was created\n");
        return 1;
    }

    // The server hangs up once it has its answer (or gives up).
    int status = 0;
    QObject::connect(session, &GameSession::disconnected, &app, [] { QCoreApplication::exit(0); });
    QTimer::singleShot(kGiveUpMs, &app, [&status] {
        std::fprintf(stderr, "bench_flood_client: the server never hung up\n");
        status = 1;
        QCoreApplication::exit(1);
    });
    const double cpuStart = bench::processCpuSeconds();
    app.exec();
    const double cpuSeconds = bench::processCpuSeconds() - cpuStart;
    std::printf("client peak_rss_kb=%ld cpu_s=%.3f", bench::statusKilobytes("VmHWM"), cpuSeconds);
    // The flood's last line must have reached the terminal, not just the
    // triggers: a client that skipped text would answer early.
    if (options.isSet(lastOption)) {
        const auto* screen = window.findChild<GameScreen*>();
        const bool seen =
            screen && !screen->getTerminal()->document()->find(options.value(lastOption)).isNull();
        std::printf(" last_seen=%d", seen ? 1 : 0);
    }
    std::printf("\n");
    std::fflush(stdout);
    return status;
}
