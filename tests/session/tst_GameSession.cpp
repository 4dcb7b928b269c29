#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/MudConnection.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

namespace {

QByteArray msdp(const QByteArray& name, const QByteArray& value)
{
    return QByteArray("\xff\xfa\x45\x01", 4) + name + '\x02' + value + QByteArray("\xff\xf0", 2);
}

// What the server side reads until `expected` has arrived (or 5 s passed), and
// for 50 ms more, so that anything sent after it is seen too.
QByteArray readUntil(QTcpSocket* socket, const QByteArray& expected)
{
    QByteArray received;
    QElapsedTimer timer;
    timer.start();
    while (!received.contains(expected) && timer.elapsed() < 5000) {
        if (!socket->bytesAvailable())
            socket->waitForReadyRead(50);
        received += socket->readAll();
        QCoreApplication::processEvents();
    }
    QTest::qWait(50);
    return received + socket->readAll();
}

} // namespace

class tst_GameSession : public QObject {
    Q_OBJECT

private slots:
    void playsAScriptedGameOverLoopback();
    void featureDefaultsFollowTheHost();
    void reconnectsKeepingItsState();
    void showsPromptsWithStandardTelnet();
    void highlightsOnlyTheLineThatAskedForIt();
    void reportsModulesThatFailToLoad();
    void keepsModuleFoldersInsideTheDataDirectory_data();
    void keepsModuleFoldersInsideTheDataDirectory();
};

void tst_GameSession::playsAScriptedGameOverLoopback()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const Character hero{"Hero", "", "127.0.0.1", server.serverPort(), ""};
    Scripts scripts;
    // MSDP updates reach the triggers as "NAME=value" lines.
    scripts.triggers = {{"hit", "you hit", "say got it", "", false, true, true, "red"},
                        {"low", "^HEALTH=(\\d)$", "quaff $1", "", true},
                        {"pair", "^V", "say pair", "", true}};
    Storage::instance()->setScripts(hero, scripts);

    GameSession session(hero, nullptr);
    QSignalSpy lines(&session, &GameSession::textReceived);
    QSignalSpy prompts(&session, &GameSession::promptReceived);
    QSignalSpy channels(&session, &GameSession::channelMessage);
    session.connect();
    QVERIFY(server.waitForNewConnection(5000));
    QTcpSocket* peer = server.nextPendingConnection();
    peer->write("\x1b[1;32mWelcome\x1b[0m\r\n> \n[CHAT] Bob: hi\n" + msdp("HEALTH", "5") +
                "You hit the orc.\r\nthe end\n");
    QTRY_VERIFY_WITH_TIMEOUT(lines.count() > 0 && lines.last().at(0).toString() == "the end\n", 5000);

    QStringList shown;
    for (const QList<QVariant>& args : lines) {
        if (!args.at(0).toString().isEmpty())
            shown << args.at(0).toString();
    }
    // The colour closes before the CR, so a CR LF line stays one terminal line.
    const QString highlighted = "\x1b[38;2;255;0;0mYou hit the orc.\x1b[0m\r";
    QCOMPARE(shown, QStringList({"\x1b[1;32mWelcome\x1b[0m\r\n", "> \n", "[CHAT] Bob: hi\n",
                                 highlighted + "\n", "the end\n"}));
    QCOMPARE(prompts, QList<QVariantList>({{"> "}}));
    // Channels get lines as they were shown, highlight included.
    QCOMPARE(channels, QList<QVariantList>({{"Chat", "[CHAT] Bob: hi"}, {"Combat", highlighted}}));
    QCOMPARE(session.getMsdpVariable("HEALTH"), "5");

    session.sendCommand("north;south");
    const QByteArray received = readUntil(peer, "north;south\r\n");
    QCOMPARE(received.mid(received.indexOf("quaff")), QByteArray("quaff 5\r\nsay got it\r\nnorth;south\r\n"));

    // An MSDP flood fills the table to its bound; what does not fit is dropped
    // and runs no trigger, but a known name is still updated.
    const int bound = GameSession::kMaxMsdpVariables;
    QByteArray flood = msdp(QByteArray(GameSession::kMaxMsdpNameLength + 1, 'N'), "1") +
                       msdp("LONG", QByteArray(GameSession::kMaxMsdpValueLength + 1, 'v'));
    for (int i = 0; i < bound + 5; ++i)
        flood += msdp("V" + QByteArray::number(i), "x");
    peer->write(flood + msdp("V0", "updated") + "still here\n");
    QTRY_VERIFY_WITH_TIMEOUT(lines.last().at(0).toString() == "still here\n", 5000);
    const QMap<QString, QString> table = session.getAllMsdpVariables();
    QCOMPARE(table.size(), bound);
    QCOMPARE(table.value("V0"), "updated");
    QVERIFY(!table.contains("LONG"));
    QCOMPARE(session.droppedMsdpCount(), 2 + 6); // HEALTH holds one place, so six V's find none
    QCOMPARE(readUntil(peer, QByteArray("say pair\r\n").repeated(bound)).count("say pair"), bound);
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

void tst_GameSession::reconnectsKeepingItsState()
{
    QTemporaryDir dataDir;
    Storage storage(dataDir.path()); // the session must use the store it is given
    auto server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost));
    const quint16 port = server->serverPort();
    const Character hero{"Hero", "", "127.0.0.1", port, ""};
    GameSession session(hero, nullptr, &storage);
    session.setFeatureEnabled(GameFeature::StandardTelnet, true);
    session.setFeatureEnabled(GameFeature::ClientConveniences, true);
    QCOMPARE(storage.getEnabledFeatures(hero), QList<int>({11, 12}));
    QVERIFY(Storage::instance()->getEnabledFeatures(hero).isEmpty());
    QSignalSpy notSent(&session, &GameSession::commandNotSent);
    QSignalSpy errors(&session, &GameSession::connectionError);
    QSignalSpy lines(&session, &GameSession::textReceived);
    session.sendCommand("look");
    QCOMPARE(notSent, QList<QVariantList>({{"look"}}));

    session.connect();
    QVERIFY(server->waitForNewConnection(5000));
    QTcpSocket* peer = server->nextPendingConnection();
    peer->write(msdp("HEALTH", "5") + "first\n\xff\xfb\x01"); // IAC WILL ECHO: a password comes
    QTRY_VERIFY_WITH_TIMEOUT(session.getMsdpVariable("HEALTH") == "5", 5000);
    // A password is sent as typed, not read as commands.
    session.sendCommand("pa;s$s#1");
    QVERIFY(readUntil(peer, "\r\n").endsWith("pa;s$s#1\r\n"));
    session.getScriptEngine()->setVariable("target", "orc");
    peer->close();
    QTRY_VERIFY_WITH_TIMEOUT(!session.isConnected(), 5000);
    QVERIFY(!errors.isEmpty()); // the server closing is reported
    server.reset();

    // A new server on the same port: the same session connects again.
    server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost, port));
    session.connect();
    QVERIFY(server->waitForNewConnection(5000));
    server->nextPendingConnection()->write("second\n");
    QTRY_VERIFY_WITH_TIMEOUT(lines.last().at(0).toString() == "second\n", 5000);
    QCOMPARE(session.getMsdpVariable("HEALTH"), "5");
    QCOMPARE(session.getScriptEngine()->getVariable("target"), "orc");
    QVERIFY(session.getConnection()->isStandardTelnet());
    QVERIFY(session.getScriptEngine()->conveniencesEnabled());

    // Nothing listens any more: the refusal reaches the player.
    server.reset();
    session.disconnect();
    errors.clear();
    session.connect();
    QTRY_VERIFY_WITH_TIMEOUT(!errors.isEmpty(), 5000);
    QVERIFY(!errors.first().at(0).toString().isEmpty());
}

void tst_GameSession::showsPromptsWithStandardTelnet()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const Character player{"P", "", "127.0.0.1", server.serverPort(), ""};
    Scripts scripts;
    scripts.triggers = {{"dog", "a big dog.", "say seen", "", false, true, true, "red"},
                        {"bi", "a bi$", "say cut", "", true}};
    Storage::instance()->setScripts(player, scripts);
    for (const bool standard : {true, false}) {
        GameSession session(player, nullptr);
        session.setFeatureEnabled(GameFeature::StandardTelnet, standard);
        QString screen;
        QObject::connect(&session, &GameSession::textReceived, [&screen](const QString& t) { screen += t; });
        session.connect();
        QVERIFY(server.waitForNewConnection(5000));
        QTcpSocket* peer = server.nextPendingConnection();
        peer->write("Name: \xff\xf9"); // IAC GA
        peer->flush();
        if (!standard) {
            // Switched off, marked or not, the text waits for its line feed.
            QTest::qWait(GameSession::kPromptIdleMs * 3);
            QCOMPARE(screen, QString());
            peer->write("\n");
            QTRY_COMPARE_WITH_TIMEOUT(screen, "Name: \n", 5000);
            continue;
        }
        QTRY_COMPARE_WITH_TIMEOUT(screen, "Name: ", 5000);
        peer->write("\r\nHP> \xff\xef"); // IAC EOR
        // The standard parser ends lines with a bare line feed.
        QTRY_COMPARE_WITH_TIMEOUT(screen, "Name: \nHP> ", 5000);
        peer->write("You see a bi");
        QTRY_COMPARE_WITH_TIMEOUT(screen, "Name: \nHP> \nYou see a bi", 5000);
        peer->write("g dog.\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(screen.endsWith("\n"), 5000);
        QCOMPARE(screen, "Name: \nHP> \nYou see a bi\x1b[38;2;255;0;0mg dog.\x1b[0m\n");
        // The trigger saw the whole line once, and never the part shown early.
        QCOMPARE(readUntil(peer, "say seen\r\n").count("say "), 1);
        peer->write("Bye"); // last words without a line feed
        peer->disconnectFromHost();
        QTRY_VERIFY_WITH_TIMEOUT(!session.isConnected(), 5000);
        QVERIFY(screen.endsWith("\x1b[0m\nBye"));
    }
}

void tst_GameSession::highlightsOnlyTheLineThatAskedForIt()
{
    const Character player{"H", "", "127.0.0.1", 1, ""};
    Scripts scripts;
    scripts.triggers = {{"hp", "HP=5", "", "", false, true, true, "#00ff00"}};
    Storage::instance()->setScripts(player, scripts);
    GameSession session(player, nullptr);
    QSignalSpy highlighted(&session, &GameSession::lineHighlighted);

    // A highlight asked for by an MSDP pair has no line to land on (nor a
    // tab to mark): once the trigger stops highlighting, a line of the same
    // text stays plain.
    session.onMudMsdpVariable("HP", "5");
    QVERIFY(highlighted.isEmpty());
    QCOMPARE(session.processMudText("HP=5\n"), QString("\x1b[38;2;0;255;0mHP=5\x1b[0m\n"));
    QCOMPARE(highlighted.size(), 1);

    // The line's own reset ends the highlight, unless conveniences colour the
    // whole visible line.
    const QString green = "\x1b[38;2;0;255;0m";
    const QString line = "\x1b[31mDanger\x1b[0m HP=5\n";
    QCOMPARE(session.processMudText(line), green + "\x1b[31mDanger\x1b[0m HP=5\x1b[0m\n");
    session.setFeatureEnabled(GameFeature::ClientConveniences, true);
    QCOMPARE(session.processMudText(line),
             green + "\x1b[31m" + green + "Danger\x1b[0m" + green + " HP=5\x1b[0m\n");

    scripts.triggers[0].highlight = false;
    session.getScriptEngine()->setScripts(scripts);
    session.onMudMsdpVariable("HP", "5");
    QCOMPARE(session.processMudText("HP=5\n"), QString("HP=5\n"));
    QCOMPARE(highlighted.size(), 3);
}

void tst_GameSession::reportsModulesThatFailToLoad()
{
    const Character hero{"L", "", "127.0.0.1", 1, ""};
    Scripts scripts;
    scripts.luaModules = {{"broken", true, 0}};
    Storage::instance()->setScripts(hero, scripts);
    writeFile(Storage::instance()->getScriptDir(hero) + "/broken.lua", "x x");
    for (const bool conveniences : {false, true}) {
        Storage::instance()->setEnabledFeatures(hero, conveniences ? QList<int>{12} : QList<int>{});
        GameSession session(hero, nullptr);
        // Connected after the session is made, as the screen is.
        QSignalSpy errors(session.getScriptEngine(), &ScriptEngine::luaError);
        QTest::qWait(10);
        QCOMPARE(errors.size(), conveniences ? 1 : 0);
        if (conveniences)
            QVERIFY(errors.first().first().toString().startsWith("broken.lua:1: "));
    }
}

void tst_GameSession::keepsModuleFoldersInsideTheDataDirectory_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("host");
    QTest::newRow("name climbs out") << "../../../../tmp/olvex-x" << QString("h");
    QTest::newRow("name climbs one level") << "../../escaped" << QString("h");
    QTest::newRow("absolute name") << "/tmp/olvex-abs" << QString("h");
    QTest::newRow("host climbs out") << "Hero" << QString("../../up");
    QTest::newRow("backslash and control") << "a\\b\x01" << QString("h");
    QTest::newRow("line break would make code") << "x\nos.exit(1)" << QString("h\r\nos.exit(2)");
    QTest::newRow("longer than a file name") << QString(130, QChar(0x00e9)) << "h";
}

void tst_GameSession::keepsModuleFoldersInsideTheDataDirectory()
{
    QFETCH(QString, name);
    QFETCH(QString, host);
    QTemporaryDir outer;
    Storage storage(outer.path() + "/.olvex");
    const Character character{name, "", host, 4000, ""};
    Scripts scripts;
    scripts.variables = {{"hp", "1", ""}};
    {
        GameSession session(character, nullptr, &storage);
        session.updateScripts(scripts);
    }
    GameSession again(character, nullptr, &storage);
    QCOMPARE(again.getScriptEngine()->scripts(), scripts);

    const QString scriptsDir = outer.path() + "/.olvex/scripts";
    const QFileInfo folder(again.getScriptDir());
    QCOMPARE(folder.absolutePath(), scriptsDir); // one folder, right inside
    QFile mainModule(folder.filePath() + "/main.lua");
    QVERIFY(mainModule.open(QIODevice::ReadOnly));
    for (const QByteArray& line : mainModule.readAll().split('\n'))
        QVERIFY2(line.isEmpty() || line.startsWith("--"), line.constData());
    QCOMPARE(QDir(outer.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{".olvex"});
    const QString naive = QDir::cleanPath(scriptsDir + "/" + character.key());
    QVERIFY(naive == folder.filePath() || !QFileInfo::exists(naive));
}

OLVEX_TEST_MAIN(tst_GameSession, QCoreApplication)
#include "tst_GameSession.moc"
