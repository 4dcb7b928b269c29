// The client half of the reliability runs: the main window with one game tab,
// opened as Connect opens it, with a player's hundred idle triggers and one on
// the check line, against bench_hostile_server playing one hostile case. It
// measures the longest event-loop gap (a 10 ms timer that should tick on time),
// the peak resident memory, and whether the check line that follows the
// hostile stream still reaches the terminal and fires its trigger. A link that
// breaks, or stays silent for 5 s before the check arrived, is reconnected once
// in a while, as a player would press Reconnect.
//
//   bench_hostile --port P --case NAME [--standard] [--timeout S]
//
// Prints one line: "hostile case=... peak_rss_kb=... max_gap_ms=... screen=0|1
// trigger=0|1 reconnects=N seconds=S" (the cycles case adds the resident memory
// after the 100th and the last cycle).

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTextDocument>
#include <QTimer>

#include <cstdio>

#include "BenchSupport.h"
#include "app/MainWindow.h"
#include "net/MudConnection.h"
#include "script/ScriptEngine.h"
#include "session/GameFeature.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"

namespace {

const QString kCheckText = QStringLiteral("HOSTILE-CHECK the gate holds");
const QString kAck = QStringLiteral("HOSTILE-ACK");
constexpr int kTickMs = 10;
constexpr int kQuietReconnectMs = 5000;
constexpr int kMaxReconnects = 5;
constexpr int kCycles = 200;

struct Options {
    int port = 0;
    QString caseName;
    bool standard = false;
    int timeoutS = 300;
};

Options parseOptions(const QApplication& app)
{
    QCommandLineParser parser;
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("Server port."),
                                  QStringLiteral("P"));
    const QCommandLineOption name(QStringLiteral("case"), QStringLiteral("Case name."),
                                  QStringLiteral("NAME"));
    const QCommandLineOption standard(QStringLiteral("standard"),
                                      QStringLiteral("Standard telnet and conveniences switched on."));
    const QCommandLineOption timeout(QStringLiteral("timeout"), QStringLiteral("Give up after S seconds."),
                                     QStringLiteral("S"), QStringLiteral("300"));
    parser.addHelpOption();
    parser.addOptions({port, name, standard, timeout});
    parser.process(app);
    return {parser.value(port).toInt(), parser.value(name), parser.isSet(standard),
            parser.value(timeout).toInt()};
}

// The scripts a player might keep, plus what the case needs: the check
// trigger always, a highlight on an MSDP variable, a pattern that backtracks.
Scripts scriptsFor(const QString& caseName)
{
    Scripts scripts;
    scripts.triggers = bench::idleTriggers(100);
    if (caseName == QLatin1String("msdp-highlight")) {
        Trigger health = bench::answerTrigger(QStringLiteral("HEALTH"), false, QStringLiteral("#var seen 1"));
        health.name = QStringLiteral("health");
        health.highlight = true;
        scripts.triggers.append(health);
    }
    if (caseName == QLatin1String("backtrack")) {
        Trigger slow =
            bench::answerTrigger(QStringLiteral("^(\\w+\\s?)*$"), true, QStringLiteral("#var bt 1"));
        slow.name = QStringLiteral("backtrack");
        scripts.triggers.append(slow);
    }
    scripts.triggers.append(bench::answerTrigger(kCheckText, false, kAck));
    return scripts;
}

// Watches one session through its case and prints the outcome.
class HostileRun : public QObject {
public:
    HostileRun(const Options& options, GameSession* session, TerminalWidget* terminal)
        : options(options)
        , session(session)
        , terminal(terminal)
    {
        ticker.setTimerType(Qt::PreciseTimer);
        ticker.setInterval(kTickMs);
        QObject::connect(&ticker, &QTimer::timeout, this, [this] { onTick(); });
        QObject::connect(session, &GameSession::connected, this, [this] { onConnected(); });
        QObject::connect(session, &GameSession::disconnected, this, [this] { onDisconnected(); });
        QObject::connect(session, &GameSession::textReceived, this,
                         [this](const QString& text) { onText(text); });
        QObject::connect(session->getScriptEngine(), &ScriptEngine::commandToSend, this,
                         [this](const QString& command) { onCommand(command); });
        if (auto* socket = session->getConnection()->findChild<QTcpSocket*>())
            QObject::connect(socket, &QTcpSocket::readyRead, this, [this] { lastBytes.restart(); });
        QTimer::singleShot(options.timeoutS * 1000, this, [this] { finish(false); });
        startRss = bench::statusKilobytes("VmRSS");
    }

private:
    void onConnected()
    {
        if (!clock.isValid()) {
            clock.start();
            lastTick.start();
            ticker.start();
        }
        lastBytes.restart();
    }

    void onTick()
    {
        maxGapMs = std::max(maxGapMs, lastTick.restart() - kTickMs);
        if (done || !lastBytes.isValid() || lastBytes.elapsed() < kQuietReconnectMs ||
            options.caseName == QLatin1String("cycles"))
            return;
        if (reconnects >= kMaxReconnects) {
            finish(false);
            return;
        }
        // Silent but still connected: the player gives up on this link.
        lastBytes.invalidate();
        ++reconnects;
        session->disconnect();
        QTimer::singleShot(200, this, [this] { session->connect(); });
    }

    void onDisconnected()
    {
        if (done)
            return;
        if (options.caseName == QLatin1String("cycles") && cycle < kCycles) {
            QTimer::singleShot(0, this, [this] { session->connect(); });
            return;
        }
        if (reconnects >= kMaxReconnects)
            return;
        ++reconnects;
        QTimer::singleShot(200, this, [this] { session->connect(); });
    }

    void onText(const QString& text)
    {
        if (options.caseName != QLatin1String("cycles") || !text.contains(QLatin1String("CYCLE-END")))
            return;
        ++cycle;
        // By the 100th link the scrollback is full; from then on the
        // resident size should stay where it is.
        if (cycle == 100)
            rssAfterHundredth = bench::statusKilobytes("VmRSS");
        if (cycle == kCycles)
            rssAfterLast = bench::statusKilobytes("VmRSS");
        QTimer::singleShot(0, this, [this] { session->disconnect(); });
    }

    void onCommand(const QString& command)
    {
        if (command != kAck || done)
            return;
        triggered = true;
        // The terminal may defer its work to the next turn; look after it.
        QTimer::singleShot(50, this, [this] { finish(true); });
    }

    void finish(bool checked)
    {
        if (done)
            return;
        done = true;
        const bool onScreen = checked && !terminal->document()->find(kCheckText).isNull();
        std::printf("hostile case=%s standard=%d peak_rss_kb=%ld start_rss_kb=%ld max_gap_ms=%lld screen=%d "
                    "trigger=%d reconnects=%d seconds=%.1f timed_out=%d",
                    qPrintable(options.caseName), options.standard ? 1 : 0, bench::statusKilobytes("VmHWM"),
                    startRss, maxGapMs, onScreen ? 1 : 0, triggered ? 1 : 0, reconnects,
                    clock.isValid() ? clock.elapsed() / 1000.0 : 0.0, checked ? 0 : 1);
        if (options.caseName == QLatin1String("cycles"))
            std::printf(" cycles=%d rss_after_100_kb=%ld rss_after_last_kb=%ld", cycle, rssAfterHundredth,
                        rssAfterLast);
        std::printf("\n");
        std::fflush(stdout);
        QCoreApplication::exit(checked ? 0 : 1);
    }

    Options options;
    GameSession* session;
    TerminalWidget* terminal;
    QTimer ticker;
    QElapsedTimer clock;
    QElapsedTimer lastTick;
    QElapsedTimer lastBytes;
    qint64 maxGapMs = 0;
    long startRss = 0;
    long rssAfterHundredth = 0;
    long rssAfterLast = 0;
    int reconnects = 0;
    int cycle = 0;
    bool triggered = false;
    bool done = false;
};

} // namespace

int main(int argc, char** argv)
{
    bench::isolateDataDirectory();
    QApplication app(argc, argv);
    bench::setUpLikeTheClient(app);
    const Options options = parseOptions(app);
    if (options.port <= 0 || options.caseName.isEmpty()) {
        std::fprintf(stderr, "bench_hostile: --port and --case are required\n");
        return 2;
    }

    Character character;
    character.name = QStringLiteral("Hostile");
    character.host = QStringLiteral("127.0.0.1");
    character.port = options.port;
    character.mudName = QStringLiteral("Hostile");
    Storage::instance()->setCharacters({character});
    Storage::instance()->setScripts(character, scriptsFor(options.caseName));
    if (options.standard)
        Storage::instance()->setEnabledFeatures(
            character, {int(GameFeature::StandardTelnet), int(GameFeature::ClientConveniences)});

    MainWindow window;
    window.show();
    window.onConnectPressed(character);
    GameSession* session = SessionManager::instance()->getSession(character);
    auto* screen = window.findChild<GameScreen*>();
    if (!session || !screen) {
        std::fprintf(stderr, "bench_hostile: no session was created\n");
        return 1;
    }
    HostileRun run(options, session, screen->getTerminal());
    return app.exec();
}
