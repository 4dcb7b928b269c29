#include "script/ScriptEngine.h"

#include <QRegularExpression>
#include <QTimer>

#include "lua/LuaErrorText.h"
#include "terminal/AnsiParser.h"

namespace {

const QString kLuaPrefix = QStringLiteral("lua:");

const QRegularExpression& luaCallPattern()
{
    static const QRegularExpression re(QStringLiteral("^(\\w+)(?:\\((.*)\\))?$"));
    return re;
}

// An alias's commands with its arguments put in: %0 is all of them, %1 to %9
// the words (empty where there are fewer). One pass, so an argument that
// itself holds "%1" stays as typed.
QString withArguments(const QString& commands, const QString& arguments)
{
    static const QRegularExpression placeholder(QStringLiteral("%([0-9])"));
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    const QStringList words = arguments.split(blanks, Qt::SkipEmptyParts);
    QString result;
    qsizetype copied = 0;
    QRegularExpressionMatchIterator it = placeholder.globalMatch(commands);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        const int index = match.captured(1).toInt();
        result += QStringView(commands).mid(copied, match.capturedStart() - copied);
        result += index == 0 ? arguments : words.value(index - 1);
        copied = match.capturedEnd();
    }
    return result.append(QStringView(commands).mid(copied));
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

void ScriptEngine::setConveniencesEnabled(bool on)
{
    m_conveniencesEnabled = on;
    m_processor.setConveniencesEnabled(on);
}

const Alias* ScriptEngine::findAlias(const QString& text) const
{
    for (const Alias& alias : m_scripts.aliases) {
        if (alias.enabled && alias.alias == text)
            return &alias;
    }
    return nullptr;
}

void ScriptEngine::processInput(const QString& input)
{
    const QString typed = input.trimmed();
    if (const Alias* alias = findAlias(typed)) {
        runAlias(*alias, typed, {});
        return;
    }
    // By default typed lines are never parsed: "north;south" goes out as one
    // line. An empty line is a command to the game too (it redraws the prompt).
    if (!m_conveniencesEnabled || typed.isEmpty()) {
        emit commandToSend(input);
        return;
    }
    runTypedLine(typed);
}

void ScriptEngine::runTypedLine(const QString& line)
{
    // Split before aliases are looked up, so "k orc;flee" is the alias "k"
    // with "orc", then "flee", and an argument never adds commands of its own.
    const QStringList pieces = line.split(QLatin1Char(';'));
    for (const QString& rawPiece : pieces) {
        const QString piece = rawPiece.trimmed();
        if (piece.isEmpty())
            continue;
        if (const Alias* alias = findAlias(piece)) {
            runAlias(*alias, piece, {});
            continue;
        }
        static const QRegularExpression blank(QStringLiteral("\\s"));
        const qsizetype firstBlank = piece.indexOf(blank);
        if (const Alias* alias = firstBlank > 0 ? findAlias(piece.left(firstBlank)) : nullptr) {
            runAlias(*alias, piece, piece.mid(firstBlank + 1).trimmed());
            continue;
        }
        runPiece(piece, {}, m_typedRepeatEnabled);
    }
}

void ScriptEngine::runAlias(const Alias& alias, const QString& typed, const QString& arguments)
{
    // A copy: a receiver of our signals may replace the scripts.
    const QString commands =
        m_conveniencesEnabled ? withArguments(alias.commands, arguments) : alias.commands;
    executeCommands(commands, typed, {});
}

ScriptEngine::LineResult ScriptEngine::processGameText(const QString& text)
{
    if (!m_conveniencesEnabled)
        return checkTriggers(text);
    // Triggers see the line as the player does: no escape sequences, and no
    // CR before the line feed.
    QString visible = AnsiParser::plainText(text);
    if (visible.endsWith(QLatin1Char('\r')))
        visible.chop(1);
    return checkTriggers(visible);
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
        if (!piece.isEmpty())
            runPiece(piece, matchText, true);
    }
}

void ScriptEngine::runPiece(const QString& piece, const QString& matchText, bool repeatAllowed)
{
    if (piece.startsWith(kLuaPrefix)) {
        runLuaCall(piece.mid(kLuaPrefix.size()).trimmed(), matchText);
        return;
    }
    // Results are not matched against aliases again, so an alias cannot
    // call an alias and nothing here can recurse.
    QStringList shown;
    const QStringList toSend = m_processor.processCommand(piece, &shown, repeatAllowed);
    for (const QString& text : std::as_const(shown))
        emit echoText(text);
    for (const QString& command : toSend)
        emit commandToSend(command);
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
    if (m_lua.callFunction(name, argument))
        return;
    if (!m_conveniencesEnabled)
        emit luaError(QStringLiteral("'%1': %2").arg(name, m_lua.lastError()));
    else if (m_lua.lastError() == LuaEngine::notFoundMessage(name))
        emit luaError(QStringLiteral("%1: no loaded module defines this function").arg(name));
    else
        emit luaError(
            LuaErrorText::forCall(m_lua.lastErrorModule(), name, m_lua.lastError(), m_lua.scriptDir()));
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
    const bool loaded = m_lua.loadModule(name);
    if (!loaded)
        reportLoadFailure(name);
    return loaded;
}

void ScriptEngine::reloadAllLuaModules(const QStringList& moduleNames)
{
    m_lua.unloadAll();
    setupLuaCallbacks();
    for (const QString& name : moduleNames) {
        if (!m_lua.loadModule(name))
            reportLoadFailure(name);
    }
}

void ScriptEngine::reportLoadFailure(const QString& name)
{
    if (!m_conveniencesEnabled)
        return;
    // Reported from the event loop: a session loads its modules while it is
    // being made, before the screen that shows the errors is connected.
    const QString message =
        LuaErrorText::forLoad(name + QStringLiteral(".lua"), m_lua.lastError(), m_lua.scriptDir());
    QMetaObject::invokeMethod(
        this, [this, message] { emit luaError(message); }, Qt::QueuedConnection);
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
