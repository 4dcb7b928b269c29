#include <QtTest>

#include "script/ScriptEngine.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

namespace {

// The first argument of every signal caught: commands sent, errors reported.
QStringList firstArguments(const QSignalSpy& spy)
{
    QStringList firsts;
    for (const QList<QVariant>& arguments : spy)
        firsts << arguments.at(0).toString();
    return firsts;
}

} // namespace

class tst_ScriptEngine : public QObject {
    Q_OBJECT

private slots:
    void aliasesAndKeyBindings();
    void firstMatchingTriggerFires();
    void commandBlocksCallLua();
    void reloadsAndReportsLuaErrors();
    void timers();

private:
    void prepare(ScriptEngine& engine);

    QTemporaryDir dir;
};

// Module m in a directory deep enough that Lua cuts the file's path short in
// its messages, a trigger that makes every kind of Lua call, an alias that
// stores a variable.
void tst_ScriptEngine::prepare(ScriptEngine& engine)
{
    const QString scriptDir = dir.filePath("scripts/Somebody_with.a.long.host.name_4000");
    writeFile(scriptDir + "/m.lua",
              "function onHit(a) send('hit:' .. tostring(a) .. ':' .. matches[1]) end\n"
              "function fail() error('bad') end\n"
              "function stuck() while true do end end\n"
              "function store(v) setVariable('target', v) send('#' .. getMsdp('ROOM')) end");
    writeFile(scriptDir + "/broken.lua", "x x");
    engine.setLuaTimeLimitMs(50);
    engine.setScriptDir(scriptDir);
    QVERIFY2(engine.loadLuaModule("m"), qPrintable(engine.getLuaLastError()));
    Scripts scripts;
    scripts.triggers = {
        {"t", "You hit (\\w+)",
         "lua:onHit;;  ; lua:onHit(big) ;lua:on-hit;lua:missing;lua:fail;lua:stuck;#var seen $1;after $1", "",
         true}};
    scripts.aliases = {{"a", "mark", "lua:store(orc)", "", true}};
    engine.setScripts(scripts);
}

void tst_ScriptEngine::aliasesAndKeyBindings()
{
    ScriptEngine engine(nullptr);
    QSignalSpy announced(&engine, &ScriptEngine::keyBindingsChanged);
    Scripts scripts;
    scripts.aliases = {{"off", "k", "flee", "", false}, {"kill", "k", "kill orc;get all", "", true}};
    scripts.keyBindings = {{"off", "F1", "west", "", false},
                           {"n", "F1", "north;#2 look", "", true},
                           {"again", "F1", "south", "", true}};
    engine.setScripts(scripts);
    QCOMPARE(announced.size(), 1);
    QCOMPARE(announced.first().at(0).value<QList<KeyBinding>>(), scripts.keyBindings);
    QSignalSpy sent(&engine, &ScriptEngine::commandToSend);

    // Typed lines match aliases whole and are otherwise sent exactly as typed.
    engine.processInput(" k ");
    engine.processInput("k orc");
    engine.processInput("north;south");
    engine.processInput(" #var x 1 ");
    engine.triggerKeyBinding("F1");
    engine.triggerKeyBinding("f1");
    QCOMPARE(firstArguments(sent), QStringList({"kill orc", "get all", "k orc", "north;south", " #var x 1 ",
                                                "north", "look", "look"}));
    QCOMPARE(engine.getVariable("x"), QString());

    // With conveniences a typed line is a command block whose pieces may be
    // aliases, exact or by their first word with arguments.
    scripts.aliases.append({"tell", "t", "tell %1 [%0] %2%9;#showme told %1", "", true});
    engine.setScripts(scripts);
    engine.setConveniencesEnabled(true);
    QSignalSpy shown(&engine, &ScriptEngine::echoText);
    sent.clear();
    engine.processInput(" k ");
    engine.processInput("k orc");
    engine.processInput("t bob  hi there;north; ;#var x 5;say $x;#2 look");
    engine.processInput("t");
    engine.processInput("");
    engine.setTypedRepeatEnabled(false);
    engine.processInput("#2 look");
    engine.triggerKeyBinding("F1"); // blocks keep their repeats
    QCOMPARE(firstArguments(sent), QStringList({"kill orc", "get all", "kill orc", "get all",
                                                "tell bob [bob  hi there] hi", "north", "say 5", "look",
                                                "look", "tell  []", "", "#2 look", "north", "look", "look"}));
    QCOMPARE(shown, QList<QVariantList>({{"told bob"}, {"told"}}));
}

void tst_ScriptEngine::firstMatchingTriggerFires()
{
    ScriptEngine engine(nullptr);
    Scripts scripts;
    // Fields: name, pattern, commands, group, regex, enabled, highlight, colour.
    scripts.triggers = {{"off", "hungry", "never", "", false, false},
                        {"broken", "([", "never", "", true},
                        {"case", "Hungry", "never", "", true},
                        {"plain", "HUNGRY", "eat", ""},
                        {"second", "hungry", "never", ""},
                        {"hit", "You hit (\\w+) for (\\d+)", "say $0|$1|$2", "", true, true, true, "#FF0000"},
                        {"all", "", "seen", ""}};
    engine.setScripts(scripts);
    QSignalSpy sent(&engine, &ScriptEngine::commandToSend);
    QSignalSpy fired(&engine, &ScriptEngine::triggerFired);
    QSignalSpy highlight(&engine, &ScriptEngine::lineHighlight);

    engine.processGameText("You are hungry.");
    QCOMPARE(firstArguments(sent), QStringList({"eat"}));
    QCOMPARE(fired.takeFirst(), QVariantList({"plain", "You are hungry.", "eat"}));
    QVERIFY(highlight.isEmpty());

    engine.processGameText("Ouch! You hit orc for 12 damage");
    QCOMPARE(sent.last().at(0).toString(), QString("say You hit orc for 12|orc|12"));
    QCOMPARE(highlight.takeFirst(), QVariantList({"Ouch! You hit orc for 12 damage", "#FF0000"}));

    engine.processGameText("A cold wind blows.");
    engine.processGameText("");
    QCOMPARE(fired.size(), 3);
    QCOMPARE(fired.at(1).at(0).toString(), QString("all"));
    QCOMPARE(fired.at(2).at(0).toString(), QString("all"));

    // Escape codes hide the text from triggers, unless conveniences strip
    // them (and the CR) first; captures then come from the visible text.
    const QString coloured = "\x1b[1mYou hit \x1b[32morc\x1b[0m for 3\r";
    for (const bool on : {false, true}) {
        engine.setConveniencesEnabled(on);
        engine.processGameText(coloured);
        QCOMPARE(fired.last().at(0).toString(), on ? QString("hit") : QString("all"));
    }
    QCOMPARE(fired.last().at(1).toString(), QString("You hit orc for 3"));
    QCOMPARE(sent.last().at(0).toString(), QString("say You hit orc for 3|orc|3"));
}

void tst_ScriptEngine::commandBlocksCallLua()
{
    ScriptEngine engine(nullptr);
    prepare(engine);
    QSignalSpy sent(&engine, &ScriptEngine::commandToSend);
    QSignalSpy errors(&engine, &ScriptEngine::luaError);
    QSignalSpy changed(&engine, &ScriptEngine::variableChanged);

    engine.processGameText("You hit orc");
    QCOMPARE(firstArguments(sent), QStringList({"hit:You hit orc:orc", "hit:big:orc", "after orc"}));
    const QStringList reported = firstArguments(errors);
    QCOMPARE(reported.size(), 3);
    QCOMPARE(reported.at(0), "'missing': Function 'missing' not found");
    QVERIFY(reported.at(1).startsWith("'fail': ") && reported.at(1).endsWith("bad"));
    QVERIFY(reported.at(2).startsWith("'stuck': ") && reported.at(2).contains("ran too long"));
    QCOMPARE(engine.getVariable("seen"), QString("$1"));
    QVERIFY(changed.isEmpty()); // "#var" is not announced

    // Lua's send bypasses the command language; getMsdp reads "" until the
    // session installs its look-up; setVariable is announced.
    sent.clear();
    engine.processInput("mark");
    engine.setMsdpCallback([](const QString& name) { return name + "=Temple"; });
    engine.processInput("mark");
    QCOMPARE(firstArguments(sent), QStringList({"#", "#ROOM=Temple"}));
    QCOMPARE(changed.first(), QVariantList({"target", "orc"}));
    QCOMPARE(engine.getVariable("target"), "orc");
}

void tst_ScriptEngine::reloadsAndReportsLuaErrors()
{
    ScriptEngine engine(nullptr);
    prepare(engine);
    QSignalSpy sent(&engine, &ScriptEngine::commandToSend);
    QSignalSpy errors(&engine, &ScriptEngine::luaError);

    // Reloading resets the state but re-installs the callbacks; modules that
    // fail to load are not reported by default.
    engine.setMsdpCallback([](const QString& name) { return name + "=Temple"; });
    engine.reloadAllLuaModules({"m", "absent", "broken"});
    engine.processInput("mark");
    QCOMPARE(firstArguments(sent), QStringList({"#ROOM=Temple"}));
    QTest::qWait(10);
    QVERIFY(errors.isEmpty());

    // With conveniences errors name the module and the function, a module by
    // its file name alone, and load failures are reported from the event loop
    // (a session loads its modules before its screen listens).
    engine.setConveniencesEnabled(true);
    engine.processGameText("You hit orc");
    engine.reloadAllLuaModules({"m", "absent", "broken"});
    QCOMPARE(errors.size(), 3);
    QTRY_COMPARE(errors.size(), 5);
    const QStringList reported = firstArguments(errors);
    QCOMPARE(reported.mid(0, 3),
             QStringList({"missing: no loaded module defines this function", "m.lua:2: fail: bad",
                          "m.lua: stuck: script ran too long (over 0.05 s) and was stopped"}));
    QVERIFY2(reported.at(3).startsWith("absent.lua: cannot open absent.lua"), qPrintable(reported.at(3)));
    QVERIFY2(reported.at(4).startsWith("broken.lua:1: "), qPrintable(reported.at(4)));
    engine.unloadLuaModules();
    QVERIFY(!engine.getLuaFunctions().contains("store"));
}

void tst_ScriptEngine::timers()
{
    ScriptEngine engine(nullptr);
    Scripts scripts;
    scripts.timers = {{"tick", 10, "repeat", "tick", "", true},
                      {"off", 10, "repeat", "off", "", false},
                      {"later", 10, "once", "later", "", true}};
    engine.setScripts(scripts);
    QCOMPARE(engine.runningTimers(), QStringList({"tick"}));

    QSignalSpy sent(&engine, &ScriptEngine::commandToSend);
    QTRY_VERIFY(sent.size() >= 3);
    QVERIFY(!firstArguments(sent).contains("off"));
    QVERIFY(!firstArguments(sent).contains("later"));

    engine.stopTimer("tick");
    engine.startTimer(scripts.timers.at(2));
    QTRY_VERIFY(firstArguments(sent).contains("later"));
    sent.clear();
    QTest::qWait(60);
    QVERIFY(sent.isEmpty()); // the one-shot fired once and "tick" is stopped
    QCOMPARE(engine.runningTimers(), QStringList({"later"}));

    // New scripts drop every timer in the map and restart the repeating ones.
    scripts.timers = {{"tock", 10, "repeat", "tock", "", true}};
    engine.setScripts(scripts);
    QCOMPARE(engine.runningTimers(), QStringList({"tock"}));
    QTRY_VERIFY(firstArguments(sent).count("tock") >= 2);
}

OLVEX_TEST_MAIN(tst_ScriptEngine, QCoreApplication)
#include "tst_ScriptEngine.moc"
