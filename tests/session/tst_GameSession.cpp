#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/MudConnection.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"

namespace {

QByteArray msdp(const QByteArray& name, const QByteArray& value)
{
    return QByteArray("\xff\xfa\x45\x01", 4) + name + '\x02' + value + QByteArray("\xff\xf0", 2);
}

// Keeps reading from the server side until `expected` has arrived (or times out).
QByteArray readUntil(QTcpSocket* socket, const QByteArray& expected, QByteArray& received)
{
    QElapsedTimer timer;
    timer.start();
    while (!received.contains(expected) && timer.elapsed() < 5000) {
        if (!socket->bytesAvailable())
            socket->waitForReadyRead(50);
        received += socket->readAll();
        QCoreApplication::processEvents();
    }
    return received;
}

} // namespace

class tst_GameSession : public QObject {
    Q_OBJECT

private slots:
    void playsAScriptedGameOverLoopback();
    void assemblesLinesFromPieces();
    void boundsAnEndlessLine();
    void featureDefaultsFollowTheHost();
};

void tst_GameSession::playsAScriptedGameOverLoopback()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const Character hero{"Hero", "", "127.0.0.1", server.serverPort(), ""};
    Scripts scripts;
    // MSDP updates reach the triggers as "NAME=value" lines.
    scripts.triggers = {{"hit", "you hit", "say got $0", "", false, true, true, "red"},
                        {"low", "^HEALTH=(\\d)$", "quaff $1", "", true}};
    Storage::instance()->setScripts(hero, scripts);

    GameSession session(hero, nullptr);
    QSignalSpy lines(&session, &GameSession::textReceived);
    QSignalSpy prompts(&session, &GameSession::promptReceived);
    QSignalSpy channels(&session, &GameSession::channelMessage);
    session.connect();
    QVERIFY(server.waitForNewConnection(5000));
    QTcpSocket* peer = server.nextPendingConnection();
    peer->write("\x1b[1;32mWelcome\x1b[0m\r\n> \n[CHAT] Bob: hi\n" + msdp("HEALTH", "5") +
                "You hit the orc.\nthe end\n");
    QTRY_VERIFY_WITH_TIMEOUT(lines.count() > 0 && lines.last().at(0).toString() == "the end\n", 5000);

    QStringList shown;
    for (const QList<QVariant>& args : lines) {
        if (!args.at(0).toString().isEmpty())
            shown << args.at(0).toString();
    }
    const QString highlighted = "\x1b[38;2;255;0;0mYou hit the orc.\x1b[0m";
    QCOMPARE(shown, QStringList({"\x1b[1;32mWelcome\x1b[0m\r\n", "> \n", "[CHAT] Bob: hi\n",
                                 highlighted + "\n", "the end\n"}));
    QCOMPARE(prompts, QList<QVariantList>({{"> "}}));
    // Channels get lines as they were shown, highlight included.
    QCOMPARE(channels, QList<QVariantList>({{"Chat", "[CHAT] Bob: hi"}, {"Combat", highlighted}}));
    QCOMPARE(session.getMsdpVariable("HEALTH"), "5");

    session.sendCommand("north;south");
    QByteArray received;
    readUntil(peer, "north;south\r\n", received);
    QCOMPARE(received.mid(received.indexOf("quaff")),
             QByteArray("quaff 5\r\nsay got You hit the orc.\r\nnorth;south\r\n"));
}

void tst_GameSession::assemblesLinesFromPieces()
{
    GameSession session(Character{"A", "", "localhost", 1, ""}, nullptr);
    QSignalSpy prompts(&session, &GameSession::promptReceived);
    QCOMPARE(session.processMudText("ab"), QString());
    QCOMPARE(session.processMudText("c"), QString());
    QCOMPARE(session.processMudText("\r\nde"), QString("abc\r\n"));
    QCOMPARE(session.processMudText("\n\n>> hp\nx"), QString("de\n\n>> hp\n"));
    QCOMPARE(prompts.count(), 1);
    QCOMPARE(session.processMudText("\n"), QString("x\n"));

    // A highlight asked for by an MSDP pair has no line to land on: once the
    // trigger stops highlighting, a line of the same text stays plain.
    Scripts scripts;
    scripts.triggers = {{"hp", "HP=5", "", "", false, true, true, "#00ff00"}};
    session.getScriptEngine()->setScripts(scripts);
    session.onMudMsdpVariable("HP", "5");
    QCOMPARE(session.processMudText("HP=5\n"), QString("\x1b[38;2;0;255;0mHP=5\x1b[0m\n"));
    scripts.triggers[0].highlight = false;
    session.getScriptEngine()->setScripts(scripts);
    session.onMudMsdpVariable("HP", "5");
    QCOMPARE(session.processMudText("HP=5\n"), QString("HP=5\n"));
}

void tst_GameSession::boundsAnEndlessLine()
{
    GameSession session(Character{"A", "", "localhost", 1, ""}, nullptr);
    const int cap = GameSession::kMaxPendingLine;
    QString out;
    for (int i = 0; i < cap + 10; ++i)
        out += session.processMudText(QString(QLatin1Char('a' + i % 26)));
    QCOMPARE(out.size(), cap + 1); // the first 64 KiB went out as a line of its own
    QVERIFY(out.endsWith('\n'));
    QCOMPARE(session.processMudText("\n").size(), 11);

    // A line of exactly the cap, ended by a line feed, stays one line.
    QCOMPARE(session.processMudText(QString(cap, 'b') + "\n"), QString(cap, 'b') + "\n");
}

void tst_GameSession::featureDefaultsFollowTheHost()
{
    const Character home{"F", "", "Play.OLVEX.Example", 4000, ""};
    {
        GameSession session(home, nullptr);
        QVERIFY(session.isFeatureEnabled(GameFeature::OpponentPanel));
        QVERIFY(!session.isFeatureEnabled(GameFeature::AutoLogin));
        QCOMPARE(Storage::instance()->getEnabledFeatures(home), QList<int>({0, 1, 2, 6, 3, 4, 8, 9, 10}));
        session.setFeatureEnabled(GameFeature::ComboCounter, false);
    }
    GameSession again(home, nullptr); // once stored, the list is used as it is
    QVERIFY(!again.isFeatureEnabled(GameFeature::ComboCounter));

    GameSession other(Character{"F", "", "mud.elsewhere.org", 4000, ""}, nullptr);
    QVERIFY(!other.isFeatureEnabled(GameFeature::VitalsBars));
}

OLVEX_TEST_MAIN(tst_GameSession, QCoreApplication)
#include "tst_GameSession.moc"
