#include <QtTest>

#include "lua/LuaPackage.h"
#include "lua/ProfilePackage.h"
#include "support/PackageTempRoot.h"
#include "support/TestEnvironment.h"

namespace {

// Every kind of record, through the same JSON a settings file holds.
Scripts fullScripts()
{
    return Scripts::fromJson(QJsonDocument::fromJson(R"json({
        "aliases": [{"name": "k", "alias": "k", "commands": "kill $target;score", "group": "g", "enabled": false}],
        "triggers": [{"name": "t", "pattern": "You hit (\\w+)", "commands": "lua:onHit", "regex": true,
                      "highlight": true, "highlightColor": "#bb86fc"}],
        "timers": [{"name": "tick", "intervalMs": 2500, "type": "once", "commands": "look"}],
        "variables": [{"name": "target", "value": "guard"}],
        "quickActions": [{"label": "Score", "command": "score", "enabled": false}],
        "keyBindings": [{"name": "Look", "keySequence": "F5", "commands": "look"}],
        "luaModules": [{"name": "main", "enabled": true, "loadOrder": 0},
                       {"name": "demo", "enabled": false, "loadOrder": 1}]
    })json")
                                 .object());
}

} // namespace

class tst_ProfilePackage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void roundTripThroughZip();
    void refusesHostilePackages_data();
    void refusesHostilePackages();

private:
    QString path(const QString& name) const { return tempRoot.filePath(name); }

    PackageTempRoot tempRoot;
};

void tst_ProfilePackage::initTestCase()
{
    QVERIFY(tempRoot.isValid());
}

void tst_ProfilePackage::cleanup()
{
    QCOMPARE(tempRoot.leftovers(), {});
}

void tst_ProfilePackage::roundTripThroughZip()
{
    const Scripts scripts = fullScripts();
    writeFile(path("from/main.lua"), "-- main\n");
    writeFile(path("from/demo.lua"), "function onHit() echo('h\xc3\xa9') end\n");
    const QString archive = path("ann.olvexprofile");
    writeFile(archive, "an older file that the export replaces, not adds to");
    QString error;
    QVERIFY2(ProfilePackage::exportProfile(scripts, path("from"), archive, error), qPrintable(error));

    ProfilePackage::Profile profile;
    QVERIFY2(ProfilePackage::readProfile(archive, profile, error), qPrintable(error));
    QCOMPARE(profile.scripts, scripts);
    QCOMPARE(profile.moduleCode.keys(), QStringList({"demo", "main"}));
    QCOMPARE(profile.moduleCode.value("demo"), readFile(path("from/demo.lua")));

    // Installing replaces what is there (the caller asked first).
    writeFile(path("to/main.lua"), "-- mine\n");
    QVERIFY(ProfilePackage::installModules(profile, path("to"), error));
    QCOMPARE(readFile(path("to/main.lua")), QByteArray("-- main\n"));

    // A profile is still a module package for the Lua tab's import.
    QList<LuaModule> modules;
    QVERIFY2(LuaPackage::importPackage(archive, path("lua"), true, modules, error), qPrintable(error));
    QCOMPARE(modules, scripts.luaModules);

    // A failed export leaves the chosen file as it was.
    QFile::remove(path("from/demo.lua"));
    QVERIFY(!ProfilePackage::exportProfile(scripts, path("from"), archive, error));
    QCOMPARE(error, "Module file not found: " + path("from/demo.lua"));
    QVERIFY(ProfilePackage::readProfile(archive, profile, error));
}

// Each row is the body of a python script that fills the zipfile z.
void tst_ProfilePackage::refusesHostilePackages_data()
{
    QTest::addColumn<QString>("entries");
    QTest::addColumn<QString>("error");

    const QString meta = "z.writestr('metadata.json', '{}')\n";
    const QString profile = "z.writestr('profile.json', '{\"luaModules\":[{\"name\":\"%1\"}]}')\n";
    // The profile goes through the module package's checked extraction, whose
    // own test has a row for each kind of hostile entry; one proves the path.
    QTest::newRow("parent path") << meta + profile.arg("a") + "z.writestr('../../escape.lua', 'x')"
                                 << "Package entry has an unsafe path: ../../escape.lua";
    QTest::newRow("module name") << meta + profile.arg("../../escape")
                                 << "Package names an invalid module: ../../escape";
    QTest::newRow("no profile") << meta << "Failed to read profile.json from package";
    QTest::newRow("profile not an object") << meta + "z.writestr('profile.json', '[1]')"
                                           << "Failed to read profile.json from package";
}

void tst_ProfilePackage::refusesHostilePackages()
{
    QFETCH(QString, entries);
    QFETCH(QString, error);
    const QString archive = path("hostile.olvexprofile");
    QVERIFY(writeZip(archive, entries));

    ProfilePackage::Profile profile;
    profile.scripts.variables = {{"kept", "1", ""}};
    QString actual;
    QVERIFY(!ProfilePackage::readProfile(archive, profile, actual));
    QCOMPARE(actual, error);
    QCOMPARE(profile.scripts.variables.size(), 1); // nothing half-read
    QVERIFY(!QFile::exists(path("escape.lua")));
    QVERIFY(!QFile::exists(path("../escape.lua")));
}

OLVEX_TEST_MAIN(tst_ProfilePackage, QCoreApplication)
#include "tst_ProfilePackage.moc"
