#include <QtTest>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

// The scripts `make run` gives the Demo character, as tools/run-demo.sh
// installs them.
class tst_DemoData : public QObject {
    Q_OBJECT

private slots:
    void floodOfHitsSendsNothing();
};

namespace {

QByteArray sourceFile(const QString& relative)
{
    return readFile(
        qEnvironmentVariable("OLVEX_TEST_SOURCE_DIR", QCoreApplication::applicationDirPath() + "/..") +
        "/tools/demo/" + relative);
}

const Character kDemo{"Demo", "", "127.0.0.1", 4000, "Olvex Demo Realm"};

} // namespace

// `flood 20000` in the demo game brings thousands of hits; the hit counter
// must show off scripts without answering each few with a line to the game.
void tst_DemoData::floodOfHitsSendsNothing()
{
    const QString dataDir = QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(".olvex");
    writeFile(dataDir + "/settings.json", sourceFile("settings.json.in").replace("@PORT@", "4000"));
    writeFile(dataDir + "/scripts/Demo_127.0.0.1_4000/demo.lua", sourceFile("demo.lua"));
    Storage::instance()->load();
    QCOMPARE(Storage::instance()->getCharacters(), {kDemo});

    GameSession session(kDemo, nullptr);
    // `make run` shows the Demo with standard telnet and client conveniences.
    QVERIFY(session.isFeatureEnabled(GameFeature::StandardTelnet));
    QVERIFY(session.isFeatureEnabled(GameFeature::ClientConveniences));
    QSignalSpy sent(session.getScriptEngine(), &ScriptEngine::commandToSend);
    QSignalSpy echoed(session.getScriptEngine(), &ScriptEngine::echoText);
    for (int i = 0; i < 4000; ++i)
        session.onMudTextReceived("\x1b[1;32mYou hit the guard with a spinning kick!\x1b[0m\r\n");
    QCOMPARE(sent.size(), 0);
    QCOMPARE(echoed.size(), 1); // a running total, at most every ten seconds
    QCOMPARE(session.getScriptEngine()->getVariable("hits"), "4000");

    session.sendCommand("hits"); // the alias reports the count when asked
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent.first().first().toString(), "say I have landed 4000 hits so far.");
}

OLVEX_TEST_MAIN(tst_DemoData, QCoreApplication)
#include "tst_DemoData.moc"
