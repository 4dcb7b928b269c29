#include "script/ScriptEngine.h"

#include <QTimer>

#include <algorithm>

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
    prepareTriggers();

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

void ScriptEngine::prepareTriggers()
{
    m_preparedTriggers.clear();
    for (qsizetype i = 0; i < m_scripts.triggers.size(); ++i) {
        const Trigger& trigger = m_scripts.triggers.at(i);
        if (!trigger.enabled)
            continue;
        PreparedTrigger prepared;
        prepared.index = i;
        prepared.regex = trigger.regex;
        if (trigger.regex) {
            prepared.expression.setPattern(trigger.pattern);
            // A pattern that does not compile never matches; leave it out.
            if (!prepared.expression.isValid())
                continue;
            prepared.expression.optimize();
        } else if (trigger.pattern.isEmpty()) {
            prepared.matchesEverything = true;
        } else {
            prepared.plain = QStringMatcher(trigger.pattern, Qt::CaseInsensitive);
        }
        m_preparedTriggers.push_back(std::move(prepared));
    }
    prepareCombinedRegex();
}

namespace {

// Patterns that refer to groups by number or to themselves would change
// meaning inside a larger alternation; they are always matched on their own.
bool canShareAlternation(const QString& pattern)
{
    static const QRegularExpression groupReference(
        QStringLiteral(R"(\\[1-9gkK]|\(\?(P[=>]|&|R|\(|[+-]?\d))"));
    return !groupReference.match(pattern).hasMatch();
}

} // namespace

void ScriptEngine::prepareCombinedRegex()
{
    QStringList alternatives;
    for (PreparedTrigger& prepared : m_preparedTriggers) {
        prepared.inCombinedRegex = prepared.regex && canShareAlternation(prepared.expression.pattern());
        if (prepared.inCombinedRegex)
            alternatives << QStringLiteral("(?:") + prepared.expression.pattern() + QLatin1Char(')');
    }
    m_combinedRegex.setPattern(alternatives.join(QLatin1Char('|')));
    m_useCombinedRegex = alternatives.size() > 1 && m_combinedRegex.isValid();
    if (m_useCombinedRegex) {
        m_combinedRegex.optimize();
    } else {
        for (PreparedTrigger& prepared : m_preparedTriggers)
            prepared.inCombinedRegex = false;
    }

    QStringList phrases;
    for (PreparedTrigger& prepared : m_preparedTriggers) {
        const QString& text = m_scripts.triggers.at(prepared.index).pattern;
        prepared.inCombinedPlain =
            !prepared.regex && !prepared.matchesEverything &&
            std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 128; });
        if (prepared.inCombinedPlain)
            phrases << QRegularExpression::escape(text);
    }
    m_combinedPlain =
        QRegularExpression(phrases.join(QLatin1Char('|')), QRegularExpression::CaseInsensitiveOption);
    m_useCombinedPlain = phrases.size() > 1 && m_combinedPlain.isValid();
    if (m_useCombinedPlain) {
        m_combinedPlain.optimize();
    } else {
        for (PreparedTrigger& prepared : m_preparedTriggers)
            prepared.inCombinedPlain = false;
    }
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

void ScriptEngine::processGameText(const QString& text)
{
    checkTriggers(text);
}

void ScriptEngine::checkTriggers(const QString& line)
{
    // Lines from the connection are always valid UTF-16; skipping the check
    // saves a scan of the line for every pattern.
    const QRegularExpression::MatchOptions options =
        line.isValidUtf16() ? QRegularExpression::DontCheckSubjectStringMatchOption
                            : QRegularExpression::NoMatchOption;
    const bool combinedMissed =
        m_useCombinedRegex &&
        !m_combinedRegex.match(line, 0, QRegularExpression::NormalMatch, options).hasMatch();
    const bool plainMissed =
        m_useCombinedPlain &&
        !m_combinedPlain.match(line, 0, QRegularExpression::NormalMatch, options).hasMatch();

    for (const PreparedTrigger& prepared : m_preparedTriggers) {
        QStringList matches;
        if (prepared.regex) {
            if (combinedMissed && prepared.inCombinedRegex)
                continue;
            const QRegularExpressionMatch match =
                prepared.expression.match(line, 0, QRegularExpression::NormalMatch, options);
            if (!match.hasMatch())
                continue;
            matches = match.capturedTexts();
        } else {
            if (plainMissed && prepared.inCombinedPlain)
                continue;
            if (!prepared.matchesEverything && prepared.plain.indexIn(line) < 0)
                continue;
            matches = QStringList{line};
        }

        // Only the first matching trigger fires. Copy it before emitting,
        // since a receiver may call setScripts and drop the list under us.
        const Trigger trigger = m_scripts.triggers.at(prepared.index);
        emit triggerFired(trigger.name, line, trigger.commands);
        if (trigger.highlight)
            emit lineHighlight(line, trigger.highlightColor);
        executeCommands(trigger.commands, line, matches);
        return;
    }
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
