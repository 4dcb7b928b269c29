#include "script/ScriptEngine.h"

#include <QRegularExpression>
#include <QTimer>

namespace {

const QString kLuaPrefix = QStringLiteral("lua:");

const QRegularExpression& luaCallPattern()
{
    static const QRegularExpression re(QStringLiteral("^(\\w+)(?:\\((.*)\\))?$"));
    return re;
}

} // namespace

ScriptEngine::ScriptEngine(QObject* parent)
    : QObject(parent)
{
    setupLuaCallbacks();
}

ScriptEngine::~ScriptEngine() = default;

void ScriptEngine::setScripts(const Scripts& scripts)
{
    m_scripts = scripts;
    m_triggers.setTriggers(m_scripts.triggers);

    for (QTimer* timer : std::as_const(m_timers)) {
        timer->stop();
        timer->deleteLater();
    }
    m_timers.clear();

    // Only repeating timers start with the scripts; a "once" timer waits
    // until something starts it explicitly.
    for (const Timer& timer : std::as_const(m_scripts.timers)) {
        if (timer.enabled && timer.kind() == TimerType::Repeat)
            startTimer(timer);
    }

    emit keyBindingsChanged(m_scripts.keyBindings);
}

void ScriptEngine::processInput(const QString& input)
{
    const QString typed = input.trimmed();
    for (const Alias& alias : std::as_const(m_scripts.aliases)) {
        if (alias.enabled && alias.alias == typed) {
            // A copy: a receiver of our signals may replace the scripts.
            const QString commands = alias.commands;
            executeCommands(commands, typed, {});
            return;
        }
    }
    // Typed lines are never parsed: "north;south" goes out as one line.
    emit commandToSend(input);
}

ScriptEngine::LineResult ScriptEngine::processGameText(const QString& text)
{
    return checkTriggers(text);
}

ScriptEngine::LineResult ScriptEngine::checkTriggers(const QString& line)
{
    const TriggerMatcher::Match match = m_triggers.firstMatch(line);
    if (!match.found())
        return {};

    // Only the first matching trigger fires. Copy it before emitting, since
    // a receiver may call setScripts and drop the list under us.
    const Trigger trigger = m_scripts.triggers.at(match.index);
    emit triggerFired(trigger.name, line, trigger.commands);
    if (trigger.highlight)
        emit lineHighlight(line, trigger.highlightColor);
    executeCommands(trigger.commands, line, match.captures);
    return {trigger.highlight, trigger.highlightColor};
}

void ScriptEngine::executeCommands(const QString& commands, const QString& matchText,
                                   const QStringList& matches)
{
    if (!matches.isEmpty()) {
        for (qsizetype i = 0; i < matches.size(); ++i)
            m_processor.setVariable(QString::number(i), matches.at(i));
        m_lua.setMatchesTable(matches);
    }

    const QStringList pieces = commands.split(QLatin1Char(';'), Qt::KeepEmptyParts);
    for (const QString& rawPiece : pieces) {
        const QString piece = rawPiece.trimmed();
        if (piece.isEmpty())
            continue;
        if (piece.startsWith(kLuaPrefix)) {
            runLuaCall(piece.mid(kLuaPrefix.size()).trimmed(), matchText);
            continue;
        }
        // Results are not matched against aliases again, so an alias cannot
        // call an alias and nothing here can recurse.
        const QStringList toSend = m_processor.processCommand(piece);
        for (const QString& command : toSend)
            emit commandToSend(command);
    }
}

void ScriptEngine::runLuaCall(const QString& call, const QString& matchText)
{
    const QRegularExpressionMatch parts = luaCallPattern().match(call);
    if (!parts.hasMatch())
        return;
    const QString name = parts.captured(1);
    // A blank argument hands over what matched: the trimmed typed line of an
    // alias or the whole game line of a trigger.
    QString argument = parts.captured(2);
    if (argument.isEmpty())
        argument = matchText;
    if (!m_lua.callFunction(name, argument))
        emit luaError(QStringLiteral("'%1': %2").arg(name, m_lua.lastError()));
}

void ScriptEngine::startTimer(const Timer& timer)
{
    auto* qtimer = new QTimer(this);
    qtimer->setInterval(timer.intervalMs);
    qtimer->setSingleShot(timer.kind() == TimerType::Once);
    const QString commands = timer.commands;
    connect(qtimer, &QTimer::timeout, this, [this, commands] { executeCommands(commands, {}, {}); });
    qtimer->start();
    // A timer already running under this name keeps running as our child;
    // only the map entry moves to the new one.
    m_timers.insert(timer.name, qtimer);
}

void ScriptEngine::stopTimer(const QString& name)
{
    QTimer* timer = m_timers.take(name);
    if (!timer)
        return;
    timer->stop();
    timer->deleteLater();
}

void ScriptEngine::triggerKeyBinding(const QString& keySequence)
{
    for (const KeyBinding& binding : std::as_const(m_scripts.keyBindings)) {
        if (binding.enabled && binding.keySequence == keySequence) {
            const QString commands = binding.commands;
            executeCommands(commands, {}, {});
            return;
        }
    }
}

void ScriptEngine::setVariable(const QString& name, const QString& value)
{
    m_processor.setVariable(name, value);
    emit variableChanged(name, value);
}

QString ScriptEngine::getVariable(const QString& name) const
{
    return m_processor.getVariable(name);
}

void ScriptEngine::setMsdpCallback(MsdpLookup callback)
{
    m_msdpCallback = std::move(callback);
}

void ScriptEngine::setScriptDir(const QString& dir)
{
    m_lua.setScriptDir(dir);
}

bool ScriptEngine::loadLuaModule(const QString& name)
{
    return m_lua.loadModule(name);
}

void ScriptEngine::reloadAllLuaModules(const QStringList& moduleNames)
{
    m_lua.unloadAll();
    setupLuaCallbacks();
    for (const QString& name : moduleNames)
        m_lua.loadModule(name);
}

void ScriptEngine::unloadLuaModules()
{
    m_lua.unloadAll();
    setupLuaCallbacks();
}

QStringList ScriptEngine::getLuaFunctions() const
{
    return m_lua.listFunctions();
}

QString ScriptEngine::getLuaLastError() const
{
    return m_lua.lastError();
}

void ScriptEngine::setLuaTimeLimitMs(int milliseconds)
{
    m_lua.setTimeLimitMs(milliseconds);
}

void ScriptEngine::onTimerElapsed()
{
    // Each timer runs its own commands from its timeout connection.
}

void ScriptEngine::setupLuaCallbacks()
{
    // send goes straight out: no alias and no command language, so a module
    // can send text that begins with "#".
    m_lua.setSendCallback([this](const QString& text) { emit commandToSend(text); });
    m_lua.setEchoCallback([this](const QString& text) { emit echoText(text); });
    m_lua.setGetMsdpCallback(
        [this](const QString& name) { return m_msdpCallback ? m_msdpCallback(name) : QString(); });
    m_lua.setGetVariableCallback([this](const QString& name) { return m_processor.getVariable(name); });
    m_lua.setSetVariableCallback([this](const QString& name, const QString& value) {
        m_processor.setVariable(name, value);
        emit variableChanged(name, value);
    });
}
