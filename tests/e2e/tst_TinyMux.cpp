#include <QGuiApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/MudConnection.h"
#include "session/GameSession.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

// The client against a real, unrelated game server: TinyMUX from Debian
// (installed with the other test packages), set up in a temporary directory
// and started on a free loopback port.

namespace {

constexpr int kWaitMs = 15000;
const QString kInstaller = QStringLiteral("/usr/games/tinymux-install");
const QString kSay = QStringLiteral("Grüße, señor! →");

// One TinyMUX game with the minimal database: only the wizard and Limbo.
class TinyMux final {
public:
    bool start(QString& problem)
    {
        if (!QFile::exists(kInstaller)) {
            problem = "TinyMUX is not installed (" + kInstaller + " is missing; make test installs it)";
            return false;
        }
        QProcess install;
        install.setWorkingDirectory(dir.path());
        install.start(kInstaller, {});
        if (!install.waitForFinished(kWaitMs) || install.exitCode() != 0) {
            problem = "tinymux-install failed: " + install.readAll();
            return false;
        }
        const QString game = dir.filePath("tinymux/game");
        port = freePort();
        writeFile(
            game + "/netmux.conf",
            readFile(game + "/netmux.conf").replace("\nport 2860", "\nport " + QByteArray::number(port)));
        server.setWorkingDirectory(game);
        server.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_LIBRARY_PATH", game + "/bin");
        server.setProcessEnvironment(environment);
        server.start(game + "/bin/netmux", {"-s", "-c", "netmux.conf", "-p", "netmux.pid", "-e", "-"});
        const bool listening = QTest::qWaitFor(
            [&] {
                QTcpSocket probe;
                probe.connectToHost(QHostAddress::LocalHost, port);
                return probe.waitForConnected(200);
            },
            kWaitMs);
        if (!listening)
            problem = QString("TinyMUX did not start on port %1: %2").arg(port).arg(server.readAll());
        return listening;
    }
    ~TinyMux()
    {
        // SIGTERM lets netmux end its helper processes; SIGKILL would orphan them.
        server.terminate();
        if (!server.waitForFinished(kWaitMs)) {
            server.kill();
            server.waitForFinished();
        }
    }
    quint16 port = 0;

private:
    static quint16 freePort()
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        return probe.serverPort();
    }
    QTemporaryDir dir;
    QProcess server;
};

// A session as the game screen sees it: everything it would show, and each
// prompt end the connection reports.
struct Player {
    Character character{"Wizard", "potrzebie", "127.0.0.1", 0, "TinyMUX"};
    std::unique_ptr<GameSession> session;
    QString shown;
    int prompts = 0;

    Player(quint16 port, bool standardTelnet)
    {
        character.port = port;
        session = std::make_unique<GameSession>(character, nullptr);
        session->setFeatureEnabled(GameFeature::StandardTelnet, standardTelnet);
        session->getConnection()->setWindowSize(100, 40);
        QObject::connect(session.get(), &GameSession::textReceived, [this](const QString& t) { shown += t; });
        QObject::connect(session->getConnection(), &MudConnection::promptEnded, [this] { ++prompts; });
        session->connect();
    }
    bool waitFor(const QString& text)
    {
        return QTest::qWaitFor([&] { return shown.contains(text); }, kWaitMs);
    }
    // Sends a command and waits for the line that answers it.
    QString ask(const QString& command, const QString& answerStart)
    {
        const qsizetype from = shown.size();
        session->sendCommand(command);
        const auto line = [&] {
            const qsizetype at = shown.indexOf(answerStart, from);
            const qsizetype end = at < 0 ? -1 : shown.indexOf('\n', at);
            return end < 0 ? QString() : shown.mid(at, end - at).remove('\r');
        };
        (void)QTest::qWaitFor([&] { return !line().isEmpty(); }, kWaitMs);
        return line();
    }
};

} // namespace

class tst_TinyMux : public QObject {
    Q_OBJECT

private slots:
    void utf8OnlyWithStandardTelnet();
};

void tst_TinyMux::utf8OnlyWithStandardTelnet()
{
    TinyMux mux;
    QString problem;
    if (!mux.start(problem))
        QFAIL(qPrintable(problem));
    {
        // Switched off, the client reads bytes as Latin-1, as it always did.
        Player player(mux.port, false);
        QVERIFY(player.waitFor("Welcome to TinyMUX"));
        // The option bytes of the server's offers show as characters.
        QVERIFY2(player.shown.startsWith("\x19\x19\x03\x18\x1f'**Welcome to TinyMUX\r\n"),
                 qPrintable(player.shown.left(40)));
        player.session->sendCommand("connect Wizard potrzebie");
        QVERIFY(player.waitFor("Limbo(#0R)"));
        // The UTF-8 that went out is read back byte by byte: garbled.
        QVERIFY(player.ask("say " + kSay, "You say").startsWith("You say, \"GrÃ¼Ã"));
        QCOMPARE(player.ask("think [terminfo(me)]", "unknown"), "unknown telnet");
        QCOMPARE(player.prompts, 0);
    }
    Player player(mux.port, true);
    QVERIFY(player.waitFor("Welcome to TinyMUX"));
    QVERIFY2(player.shown.startsWith("Welcome to TinyMUX\n"), qPrintable(player.shown.left(40)));
    player.session->sendCommand("connect Wizard potrzebie");
    QVERIFY(player.waitFor("Limbo(#0R)"));

    QCOMPARE(player.ask("say " + kSay, "You say"), "You say, “" + kSay + "”");
    // What the server keeps is the characters typed, not their UTF-8 bytes.
    player.session->sendCommand("&NOTE me=" + kSay);
    QCOMPARE(player.ask("think [strlen(v(NOTE))] [ord(mid(v(NOTE),3,1))] [ord(mid(v(NOTE),14,1))]", "15 "),
             "15 223 8594");
    QCOMPARE(player.ask("think [terminfo(me)] [width(me)]x[height(me)]", "OLVEX"),
             "OLVEX telnet unicode 100x40");
    player.session->getConnection()->setWindowSize(132, 50);
    QCOMPARE(player.ask("think [width(me)]x[height(me)]", "132x"), "132x50");

    // @program prompts with "> " and IAC EOR, without a line feed.
    player.session->sendCommand("&ASK me=@emit Schön, %0!");
    player.session->sendCommand("@program me=me/ASK:Wie heißt du?");
    QVERIFY(QTest::qWaitFor([&] { return player.prompts == 1; }, kWaitMs));
    QCOMPARE(player.ask("Zoë", "Schön"), "Schön, Zoë!");

    for (QChar c : std::as_const(player.shown))
        QVERIFY2(c == '\n' || c == '\x1b' || c >= ' ', qPrintable(QString::number(c.unicode())));
}

OLVEX_TEST_MAIN(tst_TinyMux, QGuiApplication)
#include "tst_TinyMux.moc"
