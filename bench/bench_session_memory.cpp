// Peak memory of a client with sixteen sessions open, every terminal holding a
// full scrollback: the main window with sixteen game tabs, each connected to
// its own demo server that floods it with coloured game text and a sentinel,
// each with the hundred idle triggers of the other benchmarks. Every tab is
// shown once before the peak resident set (VmHWM) is read, as a player
// looking through them would.
//
//   bench_session_memory [--server build-release/tools/olvex-demo-server]
//                        [--sessions 16] [--lines 5000]
//
// bench/run-comparison.sh runs it several times and reports the median.

#include <QApplication>
#include <QCommandLineParser>
#include <QProcess>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <vector>

#include "BenchSupport.h"
#include "app/MainWindow.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"

namespace {

constexpr int kServerStartMs = 10000;
constexpr int kGiveUpMs = 180000;

void fail(const char* message)
{
    std::fprintf(stderr, "bench_session_memory: %s\n", message);
    std::exit(1);
}

// Starts a demo server in flood mode and returns the port it listens on.
int startServer(QProcess& server, const QString& program, int lines)
{
    server.setProgram(program);
    server.setArguments({QStringLiteral("--bench-flood"), QString::number(lines), QStringLiteral("--port"),
                         QStringLiteral("0")});
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start();
    if (!server.waitForStarted(kServerStartMs))
        fail("the demo server did not start");
    while (!server.canReadLine()) {
        if (!server.waitForReadyRead(kServerStartMs))
            fail("the demo server did not say where it listens");
    }
    const QByteArray line = server.readLine().trimmed();
    if (!line.startsWith("listening "))
        fail("unexpected first line from the demo server");
    return line.mid(10).toInt();
}

} // namespace

int main(int argc, char** argv)
{
    bench::isolateDataDirectory();
    QApplication app(argc, argv);
    bench::setUpLikeTheClient(app);

    QCommandLineParser options;
    const QCommandLineOption serverOption(
        QStringLiteral("server"), QStringLiteral("Demo server program."), QStringLiteral("path"),
        QCoreApplication::applicationDirPath() + QStringLiteral("/tools/olvex-demo-server"));
    const QCommandLineOption sessionsOption(QStringLiteral("sessions"), QStringLiteral("Sessions (16)."),
                                            QStringLiteral("N"), QStringLiteral("16"));
    const QCommandLineOption linesOption(QStringLiteral("lines"), QStringLiteral("Lines per session (5000)."),
                                         QStringLiteral("N"), QStringLiteral("5000"));
    options.addHelpOption();
    options.addOptions({serverOption, sessionsOption, linesOption});
    options.process(app);
    const int sessionCount = qBound(1, options.value(sessionsOption).toInt(), SessionManager::kMaxSessions);
    const int lines = qMax(1, options.value(linesOption).toInt());

    MainWindow window;
    window.show();
    QCoreApplication::processEvents();
    const long emptyWindowKb = bench::statusKilobytes("VmHWM");

    Scripts scripts;
    scripts.triggers = bench::idleTriggers(100);
    scripts.triggers.append(
        bench::answerTrigger(QStringLiteral("BENCH-SENTINEL-END"), false, QStringLiteral("BENCH-ACK")));
    std::vector<std::unique_ptr<QProcess>> servers;
    QList<Character> characters;
    for (int i = 0; i < sessionCount; ++i) {
        servers.push_back(std::make_unique<QProcess>());
        Character character;
        character.name = QStringLiteral("Hero%1").arg(i + 1);
        character.host = QStringLiteral("127.0.0.1");
        character.port = startServer(*servers.back(), options.value(serverOption), lines);
        characters.append(character);
        Storage::instance()->setScripts(character, scripts);
    }
    Storage::instance()->setCharacters(characters);

    // Each server hangs up once its sentinel has been answered.
    int finished = 0;
    for (const Character& character : std::as_const(characters)) {
        window.onConnectPressed(character);
        GameSession* session = SessionManager::instance()->getSession(character);
        if (!session)
            fail("a session was not created");
        QObject::connect(session, &GameSession::disconnected, &app, [&finished, sessionCount] {
            if (++finished == sessionCount)
                QCoreApplication::exit(0);
        });
    }
    QTimer::singleShot(kGiveUpMs, &app, [] { fail("the floods did not finish in time"); });
    app.exec();

    // Look at every tab once: a tab never shown has never been laid out.
    int fewestBlocks = INT_MAX;
    QTabWidget* tabs = window.getTabs();
    for (int i = 1; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QCoreApplication::processEvents();
        if (auto* screen = qobject_cast<GameScreen*>(tabs->widget(i)))
            fewestBlocks = qMin(fewestBlocks, screen->getTerminal()->document()->blockCount());
    }
    QCoreApplication::processEvents();

    std::printf("sessions=%d lines=%d fewest_blocks=%d peak_rss_kb=%ld rss_kb=%ld empty_window_kb=%ld\n",
                sessionCount, lines, fewestBlocks, bench::statusKilobytes("VmHWM"),
                bench::statusKilobytes("VmRSS"), emptyWindowKb);
    for (auto& server : servers)
        server->waitForFinished(kServerStartMs);
    return 0;
}
