#include <QtTest>

#include <csignal>
#include <sys/resource.h>

#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

namespace {

QJsonObject fileObject(Storage* storage)
{
    return QJsonDocument::fromJson(readFile(storage->getStoragePath())).object();
}

} // namespace

class tst_Storage : public QObject {
    Q_OBJECT

private slots:
    void init();
    void storesEverythingUnderItsKeys();
    void perCharacterDataFollowsNameHostAndPort();
    void removingACharacterTakesOnlyWhatIsItsOwn();
    void corruptFileIsKeptAsideAndReplaced();
    void failedSaveLeavesOldFileIntact();
};

void tst_Storage::init()
{
    Storage* storage = Storage::instance();
    QDir(QFileInfo(storage->getStoragePath()).absolutePath()).removeRecursively();
    storage->load();
}

void tst_Storage::storesEverythingUnderItsKeys()
{
    Storage* storage = Storage::instance();
    const QString path = storage->getStoragePath();
    QVERIFY(path.endsWith("/.olvex/settings.json"));
    QVERIFY(path.startsWith(qEnvironmentVariable("XDG_DATA_HOME")));
    QVERIFY(!QFile::exists(path));

    const Character ann{"Ann", "pw", "10.0.0.5", 4000, "Game"};
    storage->setCharacters({ann});
    storage->setActiveCharacterIndex(2);
    Scripts scripts;
    scripts.aliases = {{"n", "n", "north", "", true}};
    storage->setScripts(ann, scripts);
    storage->setCustomChannels(ann, {{"Guild", "\\[GUILD\\]", true}});
    storage->setEnabledFeatures(ann, {0, 1, 2});
    storage->putString("theme", "dark");
    storage->putInt("count", 3);
    storage->putBoolean("flag", true);
    storage->putStringList("cmd_history_Ann_10.0.0.5_4000", {"look", "north"});

    // Every change is on disk at once, under the exact keys.
    QCOMPARE(fileObject(storage).keys(),
             QStringList({"active_character_index", "characters", "cmd_history_Ann_10.0.0.5_4000", "count",
                          "custom_channels_Ann_10.0.0.5_4000", "features_Ann_10.0.0.5_4000", "flag", "theme",
                          "tools_Ann_10.0.0.5_4000"}));

    // A fresh load reads back what was stored.
    storage->load();
    QCOMPARE(storage->getCharacters(), QList<Character>{ann});
    QCOMPARE(storage->getActiveCharacterIndex(), 2);
    QCOMPARE(storage->getScripts(ann), scripts);
    QCOMPARE(storage->getEnabledFeatures(ann), QList<int>({0, 1, 2}));
    QCOMPARE(storage->getCustomChannels(ann).at(0).name, "Guild");
    QCOMPARE(storage->getString("theme"), "dark");
    QCOMPARE(storage->getStringList("cmd_history_Ann_10.0.0.5_4000"), QStringList({"look", "north"}));

    // Wrong types read as the caller's default.
    QCOMPARE(storage->getInt("theme", 7), 7);
    QCOMPARE(storage->getString("count", "d"), "d");
    QVERIFY(!storage->getBoolean("count", false));
}

void tst_Storage::perCharacterDataFollowsNameHostAndPort()
{
    Storage* storage = Storage::instance();
    const Character hero{"Hero", "", "mud.example", 4000, ""};
    Scripts scripts;
    scripts.variables = {{"hp", "1", ""}};
    storage->setScripts(hero, scripts);
    const Character moved{"Hero", "", "mud.example", 4001, ""};
    QVERIFY(storage->getScripts(moved).variables.isEmpty());
    QVERIFY(storage->getEnabledFeatures(moved).isEmpty());
    QCOMPARE(storage->getScripts(hero), scripts); // the old key stays behind

    // The script directory is made on demand, and its main module once only.
    const QString dir = storage->getScriptDir(moved);
    QVERIFY(dir.endsWith("/.olvex/scripts/Hero_mud.example_4001"));
    QVERIFY(!QDir(dir).exists());
    storage->ensureScriptDir(moved);
    QVERIFY(readFile(dir + "/main.lua")
                .startsWith("-- Olvex Lua Script Module\n"
                            "-- Main module for Hero on mud.example\n"));
    writeFile(dir + "/main.lua", "function mine() end\n");
    storage->ensureScriptDir(moved);
    QCOMPARE(readFile(dir + "/main.lua"), QByteArray("function mine() end\n"));
}

void tst_Storage::removingACharacterTakesOnlyWhatIsItsOwn()
{
    QTemporaryDir dir;
    Storage storage(dir.path());
    const Character ann{"Ann", "", "h", 1, ""};
    const Character twin{"Ann", "other password", "h", 1, ""}; // same key: shares the entries
    const Character bob{"Bob", "", "h", 1, ""};
    storage.setCharacters({ann, bob, twin});
    for (const Character& c : {ann, bob}) {
        storage.setScripts(c, Scripts());
        storage.setCustomChannels(c, {});
        storage.setEnabledFeatures(c, {1});
        storage.putStringList(storage.getCharacterKey(c, Storage::kHistoryPrefix), {"look"});
    }
    storage.setUiValue("fontSize", 14);
    const QStringList all = QJsonDocument::fromJson(readFile(dir.filePath("settings.json"))).object().keys();

    storage.removeCharacter(ann);
    QCOMPARE(storage.getCharacters(), QList<Character>({bob, twin}));
    QCOMPARE(fileObject(&storage).keys(), all); // the twin still uses them
    storage.removeCharacter(twin);
    storage.removeCharacter(twin); // gone already: nothing happens
    QStringList left = all;
    left.removeIf([](const QString& key) { return key.contains("_Ann_"); });
    QCOMPARE(left.size(), all.size() - 4);
    QCOMPARE(fileObject(&storage).keys(), left);

    Storage reread(dir.path());
    QCOMPARE(reread.getCharacters(), QList<Character>({bob}));
    QCOMPARE(reread.uiValue("fontSize").toInt(), 14);
    QVERIFY(reread.uiValue("missing").isUndefined());
    QCOMPARE(reread.getStringList("cmd_history_Bob_h_1"), QStringList({"look"}));
}

void tst_Storage::corruptFileIsKeptAsideAndReplaced()
{
    Storage* storage = Storage::instance();
    const QString path = storage->getStoragePath();
    for (const QByteArray& bad : {QByteArray("{\"characters\": [tru"), QByteArray("[1, 2]")}) {
        writeFile(path, bad);
        storage->load();
        QVERIFY(storage->getCharacters().isEmpty());

        const QDir dir = QFileInfo(path).absoluteDir();
        const QStringList kept = dir.entryList({"settings.json.bad-*"}, QDir::Files);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(readFile(dir.filePath(kept.first())), bad);
        QVERIFY(QFile::remove(dir.filePath(kept.first())));

        storage->putInt("x", 1);
        QVERIFY(QJsonDocument::fromJson(readFile(path)).isObject());
    }
}

void tst_Storage::failedSaveLeavesOldFileIntact()
{
    // A file-size limit makes every write past it fail, for root too: the
    // closest stand-in for a disk that fills up in the middle of a save.
    Storage* storage = Storage::instance();
    storage->putString("keep", "me");
    const QByteArray before = readFile(storage->getStoragePath());

    signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    rlimit tight = saved;
    tight.rlim_cur = 16;
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Could not save settings"));
    storage->putString("keep", "changed");
    setrlimit(RLIMIT_FSIZE, &saved);

    QCOMPARE(readFile(storage->getStoragePath()), before);
    const QStringList leftovers =
        QDir(QFileInfo(storage->getStoragePath()).absolutePath()).entryList(QDir::Files);
    QCOMPARE(leftovers, QStringList({"settings.json"}));
}

OLVEX_TEST_MAIN(tst_Storage, QCoreApplication)
#include "tst_Storage.moc"
