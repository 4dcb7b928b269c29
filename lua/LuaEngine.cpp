#include "lua/LuaEngine.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <type_traits>

#include <lua.hpp>

// Everything below that runs inside Lua (API functions, the hook and the
// protected helpers) may be left by a longjmp when Lua raises an error. No C++
// object with a destructor may be alive in those frames at a point where Lua
// can raise, so arguments are checked before any QString is built.

namespace {

// How often the time guard looks at the clock. Any count hook makes the VM
// stop at every instruction to count it, which is the guard's real cost (see
// bench_script); the interval only decides how often the clock is read, and
// ten thousand instructions notice a stuck loop within microseconds.
constexpr int kInstructionsPerCheck = 10000;

const char* const kPackagePathPrefix = "/?.lua;";

// Names never offered as callable functions: the session API itself and the
// base functions every state has anyway.
const char* const kHiddenFunctionNames[] = {
    "send", "echo",  "getMsdp", "getVariable", "setVariable", "print",  "tostring",     "tonumber",
    "type", "pairs", "ipairs",  "next",        "rawget",      "rawset", "setmetatable", "getmetatable",
};

// Every API callback is kept in one shape, two texts in and one out, so that
// one C function serves the whole API.
template <typename Callback>
std::function<QString(const QString&, const QString&)> uniformCallback(Callback callback)
{
    if (!callback)
        return {};
    return [callback = std::move(callback)](const QString& first,
                                            [[maybe_unused]] const QString& second) -> QString {
        if constexpr (std::is_invocable_v<Callback, QString, QString>)
            callback(first, second);
        else if constexpr (std::is_same_v<std::invoke_result_t<Callback, QString>, QString>)
            return callback(first);
        else
            callback(first);
        return QString();
    };
}

int prependPackagePath(lua_State* state)
{
    const auto* dir = static_cast<const QByteArray*>(lua_touserdata(state, 1));
    lua_getglobal(state, "package");
    lua_getfield(state, -1, "path");
    const char* oldPath = lua_tostring(state, -1);
    lua_pushfstring(state, "%s%s%s", dir->constData(), kPackagePathPrefix, oldPath ? oldPath : "");
    lua_setfield(state, -3, "path");
    lua_pop(state, 2);
    return 0;
}

int publishMatches(lua_State* state)
{
    const auto* captures = static_cast<const QList<QByteArray>*>(lua_touserdata(state, 1));
    const int count = static_cast<int>(captures->size());
    lua_createtable(state, count, 1);
    for (int i = 0; i < count; ++i) {
        const QByteArray& capture = captures->at(i);
        lua_pushlstring(state, capture.constData(), static_cast<size_t>(capture.size()));
        // Zero-based on purpose: matches[0] is the whole match, matches[1]
        // the first group, so #matches counts the groups only.
        lua_seti(state, -2, i);
    }
    lua_setglobal(state, "matches");
    return 0;
}

int collectGlobalFunctions(lua_State* state)
{
    auto* names = static_cast<QList<QString>*>(lua_touserdata(state, 1));
    lua_rawgeti(state, LUA_REGISTRYINDEX, LUA_RIDX_GLOBALS);
    lua_pushnil(state);
    while (lua_next(state, -2) != 0) {
        const int keyType = lua_type(state, -2);
        if (lua_type(state, -1) == LUA_TFUNCTION && (keyType == LUA_TSTRING || keyType == LUA_TNUMBER)) {
            // Convert a copy: converting the key itself in place would
            // confuse lua_next.
            lua_pushvalue(state, -2);
            size_t length = 0;
            const char* name = lua_tolstring(state, -1, &length);
            names->append(QString::fromUtf8(name, static_cast<qsizetype>(length)));
            lua_pop(state, 1);
        }
        lua_pop(state, 1);
    }
    lua_pop(state, 1);
    return 0;
}

int getGlobalByName(lua_State* state)
{
    lua_getglobal(state, lua_tostring(state, 1));
    return 1;
}

QString takeErrorMessage(lua_State* state)
{
    QString message;
    if (lua_type(state, -1) == LUA_TSTRING || lua_type(state, -1) == LUA_TNUMBER) {
        size_t length = 0;
        const char* text = lua_tolstring(state, -1, &length);
        message = QString::fromUtf8(text, static_cast<qsizetype>(length));
    } else {
        message =
            QStringLiteral("(error object is a %1 value)").arg(QString::fromUtf8(luaL_typename(state, -1)));
    }
    lua_pop(state, 1);
    return message;
}

// Walking the globals raw runs no Lua code, so it needs no time budget; the
// pcall only turns a memory error into a failure instead of a Lua panic.
bool collectProtected(lua_State* state, QList<QString>* names)
{
    lua_pushcfunction(state, collectGlobalFunctions);
    lua_pushlightuserdata(state, names);
    if (lua_pcall(state, 1, 0, 0) == LUA_OK)
        return true;
    lua_pop(state, 1);
    return false;
}

} // namespace

// In the order the globals are set; a row's index is its closure's upvalue 2.
const LuaEngine::ApiFunction LuaEngine::kApi[] = {
    {"send", 1, false, &LuaEngine::m_send},
    {"echo", 1, false, &LuaEngine::m_echo},
    {"getMsdp", 1, true, &LuaEngine::m_getMsdp},
    {"getVariable", 1, true, &LuaEngine::m_getVariable},
    {"setVariable", 2, false, &LuaEngine::m_setVariable},
};

LuaEngine::LuaEngine()
{
    openState();
    if (!m_state)
        m_lastError = QStringLiteral("Failed to create Lua state");
}

LuaEngine::~LuaEngine()
{
    // Closing the current state directly: re-opening a fresh one only to
    // leave it behind, as a plain unloadAll would, leaks a whole interpreter
    // per closed session.
    if (m_state)
        lua_close(m_state);
}

void LuaEngine::openState()
{
    m_state = luaL_newstate();
    if (!m_state)
        return;
    // The instruction hook only gets the lua_State; the extra space of the
    // main thread (copied into every coroutine) leads it back to us.
    *static_cast<LuaEngine**>(lua_getextraspace(m_state)) = this;
    luaL_openlibs(m_state);
    registerCFunctions();
    installTimeGuard();
}

LuaEngine* LuaEngine::engineOf(lua_State* state)
{
    return *static_cast<LuaEngine**>(lua_getextraspace(state));
}

void LuaEngine::registerCFunctions()
{
    if (!m_state)
        return;
    for (lua_Integer row = 0; row < lua_Integer(std::size(kApi)); ++row) {
        lua_pushlightuserdata(m_state, this);
        lua_pushinteger(m_state, row);
        lua_pushcclosure(m_state, &LuaEngine::callApi, 2);
        lua_setglobal(m_state, kApi[row].name);
    }
}

void LuaEngine::setSendCallback(TextCallback callback)
{
    m_send = uniformCallback(std::move(callback));
}

void LuaEngine::setEchoCallback(TextCallback callback)
{
    m_echo = uniformCallback(std::move(callback));
}

void LuaEngine::setGetMsdpCallback(LookupCallback callback)
{
    m_getMsdp = uniformCallback(std::move(callback));
}

void LuaEngine::setGetVariableCallback(LookupCallback callback)
{
    m_getVariable = uniformCallback(std::move(callback));
}

void LuaEngine::setSetVariableCallback(AssignCallback callback)
{
    m_setVariable = uniformCallback(std::move(callback));
}

void LuaEngine::setScriptDir(const QString& dir)
{
    m_scriptDir = dir;
    if (!m_state)
        return;
    // package.path is handed to fopen, so it is in the file-system encoding.
    QByteArray encodedDir = QFile::encodeName(dir);
    runGuarded(prependPackagePath, &encodedDir);
}

bool LuaEngine::loadModule(const QString& name)
{
    m_lastErrorModule = name + QStringLiteral(".lua");
    if (!m_state) {
        m_lastError = QStringLiteral("Lua state not initialized");
        return false;
    }
    if (m_scriptDir.isEmpty()) {
        m_lastError = QStringLiteral("Script directory not set");
        return false;
    }
    const QByteArray path = QFile::encodeName(m_scriptDir + QLatin1Char('/') + m_lastErrorModule);
    if (luaL_loadfilex(m_state, path.constData(), nullptr) != LUA_OK) {
        m_lastError = takeErrorMessage(m_state);
        return false;
    }
    if (!protectedCall(0, 0, &m_lastError))
        return false;
    m_loadedModules.append(name);
    return true;
}

bool LuaEngine::callFunction(const QString& name, const QString& arg)
{
    m_lastErrorModule.clear();
    if (!m_state) {
        m_lastError = QStringLiteral("Lua state not initialized");
        return false;
    }
    const QByteArray nameUtf8 = name.toUtf8();
    lua_pushcfunction(m_state, getGlobalByName);
    lua_pushlstring(m_state, nameUtf8.constData(), static_cast<size_t>(nameUtf8.size()));
    if (!protectedCall(1, 1, &m_lastError))
        return false;
    if (lua_type(m_state, -1) != LUA_TFUNCTION) {
        lua_pop(m_state, 1);
        m_lastError = notFoundMessage(name);
        return false;
    }
    // The file that defined the function names the module when the call fails.
    lua_Debug definition;
    lua_pushvalue(m_state, -1);
    lua_getinfo(m_state, ">S", &definition);
    m_lastErrorModule = definition.source && definition.source[0] == '@'
                            ? QFileInfo(QFile::decodeName(definition.source + 1)).fileName()
                            : QString();
    int argumentCount = 0;
    if (!arg.isEmpty()) {
        const QByteArray argUtf8 = arg.toUtf8();
        lua_pushlstring(m_state, argUtf8.constData(), static_cast<size_t>(argUtf8.size()));
        argumentCount = 1;
    }
    return protectedCall(argumentCount, 0, &m_lastError);
}

QString LuaEngine::notFoundMessage(const QString& name)
{
    return QStringLiteral("Function '%1' not found").arg(name);
}

bool LuaEngine::protectedCall(int nargs, int nresults, QString* error)
{
    // A call made from inside a callback runs within the budget of the call
    // that is already running; only the outermost call starts the clock.
    if (m_callDepth == 0)
        m_deadline = Clock::now() + std::chrono::milliseconds(m_timeLimitMs);
    ++m_callDepth;
    const int status = lua_pcall(m_state, nargs, nresults, 0);
    --m_callDepth;
    // A stopped script leaves the hook raising at every instruction. Put the
    // periodic check back once the outermost call is over, even when the
    // script swallowed the error (return pcall(...)) and the call succeeded.
    if (m_callDepth == 0 && m_timeLimitMs > 0 && lua_gethookcount(m_state) != kInstructionsPerCheck)
        installTimeGuard();
    if (status == LUA_OK)
        return true;
    const QString message = takeErrorMessage(m_state);
    if (error)
        *error = message;
    return false;
}

void LuaEngine::runGuarded(lua_CFunction function, void* data)
{
    lua_pushcfunction(m_state, function);
    lua_pushlightuserdata(m_state, data);
    protectedCall(1, 0, nullptr);
}

QList<QString> LuaEngine::listFunctions() const
{
    QList<QString> names;
    if (!m_state)
        return names;
    QList<QString> globals;
    if (!collectProtected(m_state, &globals))
        return names;
    for (const QString& name : std::as_const(globals)) {
        if (name.startsWith(QLatin1Char('_')))
            continue;
        bool hidden = false;
        for (const char* hiddenName : kHiddenFunctionNames) {
            if (name == QLatin1String(hiddenName)) {
                hidden = true;
                break;
            }
        }
        if (!hidden)
            names.append(name);
    }
    return names;
}

void LuaEngine::setMatchesTable(const QList<QString>& captures)
{
    if (!m_state)
        return;
    QList<QByteArray> encoded;
    encoded.reserve(captures.size());
    for (const QString& capture : captures)
        encoded.append(capture.toUtf8());
    runGuarded(publishMatches, &encoded);
}

void LuaEngine::unloadAll()
{
    if (m_state)
        lua_close(m_state);
    m_state = nullptr;
    m_loadedModules.clear();
    m_lastError.clear();
    m_lastErrorModule.clear();
    // The fresh state keeps the standard package.path: the script directory
    // is remembered for loadModule but deliberately not prepended again.
    openState();
}

void LuaEngine::setTimeLimitMs(int milliseconds)
{
    m_timeLimitMs = qMax(0, milliseconds);
    installTimeGuard();
}

void LuaEngine::installTimeGuard()
{
    if (!m_state)
        return;
    if (m_timeLimitMs > 0)
        lua_sethook(m_state, &LuaEngine::onInstructionCount, LUA_MASKCOUNT, kInstructionsPerCheck);
    else
        lua_sethook(m_state, nullptr, 0, 0);
}

void LuaEngine::onInstructionCount(lua_State* state, lua_Debug* debug)
{
    Q_UNUSED(debug)
    const LuaEngine* engine = engineOf(state);
    if (!engine || engine->m_callDepth == 0 || engine->m_timeLimitMs <= 0)
        return;
    if (Clock::now() < engine->m_deadline)
        return;
    // From now on raise at every instruction: a script that wraps its loop in
    // pcall would otherwise catch each error and carry on, because the
    // periodic check keeps landing inside the protected part.
    lua_sethook(state, &LuaEngine::onInstructionCount, LUA_MASKCOUNT, 1);
    char message[96];
    std::snprintf(message, sizeof message, "script ran too long (over %g s) and was stopped",
                  engine->m_timeLimitMs / 1000.0);
    luaL_error(state, "%s", message);
}

int LuaEngine::luaTraceback(lua_State* state)
{
    const char* message = lua_tostring(state, 1);
    if (!message) {
        if (luaL_callmeta(state, 1, "__tostring") && lua_type(state, -1) == LUA_TSTRING)
            return 1;
        message = lua_pushfstring(state, "(error object is a %s value)", luaL_typename(state, 1));
    }
    luaL_traceback(state, state, message, 1);
    return 1;
}

namespace {

struct ArgumentBytes {
    const char* text = "";
    size_t length = 0;
};

ArgumentBytes checkedText(lua_State* state, int index)
{
    ArgumentBytes result;
    result.text = luaL_checklstring(state, index, &result.length);
    return result;
}

QString toQString(const ArgumentBytes& text)
{
    return QString::fromUtf8(text.text, static_cast<qsizetype>(text.length));
}

} // namespace

// Every API function: upvalue 1 is the engine, upvalue 2 the function's row
// in kApi. Arguments are checked before any C++ object exists (see the top of
// the file), and an answer is kept in the engine while Lua copies it.
int LuaEngine::callApi(lua_State* state)
{
    auto* engine = static_cast<LuaEngine*>(lua_touserdata(state, lua_upvalueindex(1)));
    const ApiFunction& api = kApi[lua_tointeger(state, lua_upvalueindex(2))];
    if (!engine || !(engine->*api.callback))
        return luaL_error(state, "%s callback not set", api.name);
    const ArgumentBytes first = checkedText(state, 1);
    const ArgumentBytes second = api.arguments > 1 ? checkedText(state, 2) : ArgumentBytes();
    engine->m_apiAnswer = (engine->*api.callback)(toQString(first), toQString(second)).toUtf8();
    if (!api.answers)
        return 0;
    lua_pushstring(state, engine->m_apiAnswer.constData());
    return 1;
}
