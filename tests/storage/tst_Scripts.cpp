#include <QtTest>

#include "storage/Character.h"
#include "storage/CustomChannel.h"
#include "storage/Scripts.h"
#include "support/TestEnvironment.h"

class tst_Scripts : public QObject {
    Q_OBJECT

private slots:
    void roundTripKeepsEveryField();
    void missingAndWrongTypedKeysGiveDefaults();
    void writesExactKeys();
};

void tst_Scripts::roundTripKeepsEveryField()
{
    Scripts s;
    s.aliases = {{"a", "k", "kill orc;get all", "combat", false}};
    s.triggers = {{"hit", "You hit (\\w+)", "lua:onHit", "g", true, false, true, "red", false}};
    // A type other than exactly "once" or "repeat" is kept as written.
    s.timers = {{"tick", 2500, "once", "say hi", "g", false}, {"t", 1, "Once", "", "", true}};
    s.variables = {{"hp", "100", "stats"}};
    s.quickActions = {{"Flee", "flee", false}};
    s.keyBindings = {{"f1", "F1", "north", "move", false}};
    s.luaModules = {{"main", false, 3}};

    // Through text, as it would travel through settings.json.
    const QByteArray text = QJsonDocument(s.toJson()).toJson();
    QCOMPARE(Scripts::fromJson(QJsonDocument::fromJson(text).object()), s);
    Scripts changed = s; // equality sees the last field of a nested record too
    changed.luaModules[0].loadOrder = 4;
    QVERIFY(!(changed == s));

    const Character c{"Ann", "secret", "10.0.0.5", 4000, "Olvex"};
    QCOMPARE(Character::fromJson(c.toJson()), c);
    QVERIFY(c != (Character{"Ann", "secret", "10.0.0.5", 4000, "Other"}));
    const CustomChannel channel{"Guild", "^\\[GUILD\\]", false};
    QCOMPARE(CustomChannel::fromJson(channel.toJson()), channel);
}

void tst_Scripts::missingAndWrongTypedKeysGiveDefaults()
{
    QCOMPARE(Trigger::fromJson({}), Trigger());

    QCOMPARE(Timer::fromJson({{"type", 5}}).kind(), TimerType::Repeat);
    QCOMPARE(Timer::fromJson({{"type", "Once"}}).kind(), TimerType::Unrecognised);
    QCOMPARE(Character::fromJson({{"port", "4000"}, {"name", 7}}).port, 0);
    QCOMPARE(Character::fromJson({{"name", 7}}).name, QString());
    QCOMPARE(LuaModule::fromJson({{"loadOrder", "2"}, {"enabled", "no"}}).loadOrder, 0);
    QVERIFY(LuaModule::fromJson({{"enabled", "no"}}).enabled);

    // Missing or non-array collections are empty lists; unknown keys are ignored.
    const Scripts s =
        Scripts::fromJson({{"aliases", "oops"}, {"extra", 1}, {"triggers", QJsonArray{QJsonObject{}, 3}}});
    QVERIFY(s.aliases.isEmpty());
    QCOMPARE(s.triggers.size(), 2);
    QCOMPARE(s.triggers[1].highlightColor, QString("#FFFF00"));
}

void tst_Scripts::writesExactKeys()
{
    QCOMPARE(Scripts().toJson().keys(), QStringList({"aliases", "keyBindings", "luaModules", "quickActions",
                                                     "timers", "triggers", "variables"}));
    QCOMPARE(Trigger().toJson().keys(),
             QStringList({"commands", "enabled", "group", "highlight", "highlightColor", "highlightFullLine",
                          "name", "pattern", "regex"}));
    QCOMPARE(Timer().toJson().keys(),
             QStringList({"commands", "enabled", "group", "intervalMs", "name", "type"}));
    QCOMPARE(QuickAction().toJson().keys(), QStringList({"command", "enabled", "label"}));
    QCOMPARE(KeyBinding().toJson().keys(),
             QStringList({"commands", "enabled", "group", "keySequence", "name"}));
    QCOMPARE(LuaModule().toJson().keys(), QStringList({"enabled", "loadOrder", "name"}));
    QCOMPARE(Character().toJson().keys(), QStringList({"host", "mudName", "name", "password", "port"}));
    QVERIFY((Character{"a", "", "h", 23, ""}.toJson().value("port").isDouble()));
    // The key names per-character settings; a name is never read as a pattern.
    QCOMPARE((Character{"%2", "", "h", 1, ""}.key()), QString("%2_h_1"));
}

OLVEX_TEST_MAIN(tst_Scripts, QCoreApplication)
#include "tst_Scripts.moc"
