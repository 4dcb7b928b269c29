#include <QtTest>

#include "lua/LuaEngine.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

class tst_LuaEngine : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_sent.clear();
    }
    void loadingCallingAndUnloading();
    void apiRoundTrips();
    void runawayScriptsAreStopped();

private:
    void writeModule(const QString& name, const QByteArray& source)
    {
        writeFile(m_dir->filePath(name + ".lua"), source);
    }
    // Points the engine at the temporary script directory; send lands in m_sent.
    void prepare(LuaEngine& engine)
    {
        engine.setScriptDir(m_dir->path());
        engine.setSendCallback([this](const QString& text) { m_sent << text; });
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QStringList m_sent;
};

void tst_LuaEngine::loadingCallingAndUnloading()
{
    LuaEngine engine;
    QVERIFY(!engine.loadModule("m"));
    QCOMPARE(engine.lastError(), QString("Script directory not set"));
    prepare(engine);

    writeModule("m", "function show(a) send(a == nil and 'nil' or a) end\nnotFn = {}\n"
                     "function pathOf() send(package.path) end\nfunction _private() end");
    QVERIFY(engine.loadModule("m"));
    QVERIFY(engine.callFunction("show", ""));
    QVERIFY(engine.callFunction("show", "big orc"));
    QCOMPARE(m_sent, QStringList({"nil", "big orc"}));
    QVERIFY(!engine.callFunction("notFn", ""));
    QCOMPARE(engine.lastError(), QString("Function 'notFn' not found"));
    QVERIFY(!engine.loadModule("absent"));
    QVERIFY(engine.lastError().contains("cannot open"));

    // A module that fails keeps what it defined before the error, and nothing after.
    writeModule("syntax", "function early() end\nfunction broken(");
    QVERIFY(!engine.loadModule("syntax"));
    QVERIFY(engine.lastError().contains("syntax.lua:2"));
    QVERIFY(!engine.callFunction("early", ""));
    writeModule("runtime", "function before() end\nerror('boom')\nfunction after() end");
    QVERIFY(!engine.loadModule("runtime"));
    QVERIFY(engine.lastError().endsWith("boom"));
    QVERIFY(engine.callFunction("before", ""));
    QVERIFY(!engine.callFunction("after", ""));
    QCOMPARE(engine.loadedModules(), QList<QString>({"m"}));

    // The list offered to the player holds the player's functions and the
    // standard ones worth calling, not the API, basics or private names.
    const QList<QString> names = engine.listFunctions();
    QVERIFY(names.contains("show") && names.contains("assert") && names.contains("require"));
    for (const char* hidden :
         {"send", "getMsdp", "setVariable", "print", "pairs", "_private", "notFn", "string"})
        QVERIFY2(!names.contains(hidden), hidden);

    QVERIFY(engine.callFunction("pathOf", ""));
    QVERIFY(m_sent.last().startsWith(m_dir->path() + "/?.lua;"));
    engine.unloadAll();
    QVERIFY(engine.loadedModules().isEmpty() && engine.lastError().isEmpty());
    QVERIFY(!engine.callFunction("show", ""));
    QVERIFY(engine.loadModule("m")); // the directory is still known, the old path is gone
    QVERIFY(engine.callFunction("pathOf", ""));
    QVERIFY(!m_sent.last().startsWith(m_dir->path()));
}

void tst_LuaEngine::apiRoundTrips()
{
    LuaEngine engine;
    prepare(engine);
    writeModule("api", "function number() send(42) end\n"
                       "function tableArg() send({}) end\n"
                       "function msdp(n) send('[' .. getMsdp(n) .. ']') end\n"
                       "function setv() setVariable('hp', 12) send(getVariable('hp')) end\n"
                       "function talk() echo('hello') end\n"
                       "function halfSet() setVariable('hp') end\n"
                       "function show() send(matches[0] .. '|' .. matches[1] .. '|' .. #matches) end");
    QVERIFY(engine.loadModule("api"));
    QVERIFY(!engine.callFunction("talk", ""));
    QVERIFY(engine.lastError().endsWith("echo callback not set"));

    QMap<QString, QString> variables;
    engine.setGetMsdpCallback([](const QString& name) { return name == "HEALTH" ? "90" : ""; });
    engine.setGetVariableCallback([&](const QString& name) { return variables.value(name); });
    engine.setSetVariableCallback(
        [&](const QString& name, const QString& value) { variables[name] = value; });
    QVERIFY(engine.callFunction("number", ""));
    QVERIFY(engine.callFunction("msdp", "HEALTH"));
    QVERIFY(engine.callFunction("msdp", "UNKNOWN"));
    QVERIFY(engine.callFunction("setv", ""));
    QCOMPARE(m_sent, QStringList({"42", "[90]", "[]", "12"}));
    QVERIFY(!engine.callFunction("tableArg", ""));
    QVERIFY(engine.lastError().contains("bad argument #1 to 'send' (string expected, got table)"));
    QVERIFY(!engine.callFunction("halfSet", ""));
    QVERIFY(engine.lastError().contains("bad argument #2 to 'setVariable' (string expected, got no value)"));
    QCOMPARE(variables.value("hp"), QString("12")); // the failed call set nothing

    engine.setMatchesTable({"You hit orc", "orc"});
    QVERIFY(engine.callFunction("show", ""));
    QCOMPARE(m_sent.last(), QString("You hit orc|orc|1"));
    engine.setMatchesTable({"again"});
    QVERIFY(!engine.callFunction("show", "")); // replaced, not merged: matches[1] is nil
}

void tst_LuaEngine::runawayScriptsAreStopped()
{
    LuaEngine engine;
    prepare(engine);
    engine.setTimeLimitMs(100);
    writeModule("m", "function spin() while true do end end\n"
                     "function stubborn() while true do pcall(function() while true do end end) end end\n"
                     "function outer() send('inner') while true do end end\n"
                     "function inCoroutine() coroutine.wrap(function() while true do end end)() end\n"
                     "function fine(a) local s = 0 for i = 1, 100000 do s = s + i end send(a .. s) end");
    QVERIFY(engine.loadModule("m"));
    QVERIFY(!engine.callFunction("spin", ""));
    QVERIFY2(engine.lastError().contains("script ran too long (over 0.1 s) and was stopped"),
             qPrintable(engine.lastError()));
    for (const char* name : {"stubborn", "inCoroutine"}) {
        QVERIFY(!engine.callFunction(name, ""));
        QVERIFY2(engine.lastError().contains("ran too long"), name);
    }

    // A nested call made from a callback shares the outer call's budget, and
    // both are stopped.
    bool innerResult = true;
    engine.setSendCallback([&](const QString&) { innerResult = engine.callFunction("spin", ""); });
    QVERIFY(!engine.callFunction("outer", ""));
    QVERIFY(!innerResult);
    QVERIFY(engine.lastError().contains("ran too long"));
    prepare(engine);
    QVERIFY(engine.callFunction("fine", "sum="));
    QCOMPARE(m_sent.last(), QString("sum=5000050000"));

    // A strict-mode or runaway metatable on _G must neither abort the process
    // (an unprotected error is a Lua panic) nor hang it.
    writeModule("strict", "setmetatable(_G, { __index = function(_, k) error('strict: ' .. k) end,"
                          " __newindex = function() while true do end end })");
    QVERIFY(engine.loadModule("strict"));
    QVERIFY(!engine.callFunction("undefined", ""));
    QVERIFY(engine.lastError().endsWith("strict: undefined"));
    engine.setMatchesTable({"line"});
    QVERIFY(engine.listFunctions().contains("fine"));
    QVERIFY(engine.callFunction("fine", "still "));

    writeModule("endless", "while true do end");
    QVERIFY(!engine.loadModule("endless"));
    QVERIFY(engine.lastError().contains("ran too long"));
    QVERIFY(!engine.loadedModules().contains("endless"));
}

OLVEX_TEST_MAIN(tst_LuaEngine, QCoreApplication)
#include "tst_LuaEngine.moc"
