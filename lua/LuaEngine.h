#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>

struct lua_State;
struct lua_Debug;

// One Lua 5.4 interpreter for one game session. Modules loaded from the
// character's script directory reach the session only through the five API
// functions (send, echo, getMsdp, getVariable, setVariable), each of which
// forwards to a callback the script engine installs, and through the global
// table `matches`. The state gets every standard library: this is a
// convenience for the player's own scripts, not a sandbox.
class LuaEngine final {
public:
    using TextCallback = std::function<void(const QString&)>;
    using LookupCallback = std::function<QString(const QString&)>;
    using AssignCallback = std::function<void(const QString&, const QString&)>;

    static constexpr int kDefaultTimeLimitMs = 3000;

    LuaEngine();
    ~LuaEngine();
    LuaEngine(const LuaEngine&) = delete;
    LuaEngine& operator=(const LuaEngine&) = delete;

    void registerCFunctions();

    void setSendCallback(TextCallback callback);
    void setEchoCallback(TextCallback callback);
    void setGetMsdpCallback(LookupCallback callback);
    void setGetVariableCallback(LookupCallback callback);
    void setSetVariableCallback(AssignCallback callback);

    void setScriptDir(const QString& dir);
    QString scriptDir() const { return m_scriptDir; }

    bool loadModule(const QString& name);
    QList<QString> loadedModules() const { return m_loadedModules; }
    bool callFunction(const QString& name, const QString& arg);
    QList<QString> listFunctions() const;
    void setMatchesTable(const QList<QString>& captures);
    void unloadAll();
    QString lastError() const { return m_lastError; }
    // The file name of the module the last loadModule or callFunction was
    // about, to name it in a report of its failure: the module loaded, or the
    // one that defined the function called; empty when no module is known (a
    // missing function, a function made outside a module file).
    QString lastErrorModule() const { return m_lastErrorModule; }
    // lastError() of a call to a name that is no function.
    static QString notFoundMessage(const QString& name);

    // Wall-clock budget of one outermost callFunction or loadModule. A script
    // stuck in a loop is stopped with a Lua error once it is exceeded, so a
    // bad trigger handler cannot freeze the client. 0 removes the guard.
    void setTimeLimitMs(int milliseconds);
    int timeLimitMs() const { return m_timeLimitMs; }

    // Message handler that adds a traceback; available to callers that want
    // one, not used by loadModule or callFunction.
    static int luaTraceback(lua_State* state);

private:
    using Clock = std::chrono::steady_clock;

    void openState();
    void installTimeGuard();
    // Runs the function below its nargs arguments under the time budget; on
    // failure stores the message in *error (when given) and pops it.
    bool protectedCall(int nargs, int nresults, QString* error);
    // Runs a C helper with one light-userdata argument the same way. Lua code
    // can run inside it through metamethods a script put on _G or package;
    // the pcall also turns a memory error into a failure, not a panic.
    void runGuarded(int (*function)(lua_State*), void* data);

    static void onInstructionCount(lua_State* state, lua_Debug* debug);
    static LuaEngine* engineOf(lua_State* state);

    // One Lua-visible API function: how many texts it takes, whether it
    // answers with one, and the callback it forwards to.
    using ApiCallback = std::function<QString(const QString&, const QString&)>;
    struct ApiFunction {
        const char* name;
        int arguments;
        bool answers;
        ApiCallback LuaEngine::*callback;
    };
    static const ApiFunction kApi[5];
    static int callApi(lua_State* state);

    lua_State* m_state = nullptr;
    QString m_scriptDir;
    QList<QString> m_loadedModules;
    QString m_lastError;
    QString m_lastErrorModule;
    ApiCallback m_send;
    ApiCallback m_echo;
    ApiCallback m_getMsdp;
    ApiCallback m_getVariable;
    ApiCallback m_setVariable;
    QByteArray m_apiAnswer; // an answer while Lua copies it

    int m_timeLimitMs = kDefaultTimeLimitMs;
    // Depth of callFunction/loadModule currently running; re-entry from a
    // callback keeps the deadline of the outermost call.
    int m_callDepth = 0;
    Clock::time_point m_deadline;
};
