#include "session/GameSession.h"

#include <QMutexLocker>
#include <QTimer>

#include <limits>

#include "net/MudConnection.h"
#include "script/LineHighlight.h"
#include "script/ScriptEngine.h"
#include "storage/Storage.h"

GameSession::GameSession(const Character& character, QObject* parent, Storage* store)
    : QObject(parent)
    , character(character)
    , storage(store ? store : Storage::instance())
    , connection(new MudConnection(this))
    , scriptEngine(new ScriptEngine(this))
    , idleTimer(new QTimer(this))
{
    // GameSession::connect() hides QObject::connect, hence the qualified calls.
    QObject::connect(connection, &MudConnection::connected, this, &GameSession::onMudConnected);
    QObject::connect(connection, &MudConnection::disconnected, this, &GameSession::onMudDisconnected);
    QObject::connect(connection, &MudConnection::textReceived, this, &GameSession::onMudTextReceived);
    QObject::connect(connection, &MudConnection::msdpVariable, this, &GameSession::onMudMsdpVariable);
    QObject::connect(connection, &MudConnection::error, this, &GameSession::connectionError);
    QObject::connect(connection, &MudConnection::serverEchoChanged, this, &GameSession::serverEchoChanged);
    QObject::connect(connection, &MudConnection::serverEchoChanged, this,
                     [this](bool serverEchoes) { serverHidesInput = serverEchoes; });
    QObject::connect(connection, &MudConnection::promptEnded, this, &GameSession::onMudPromptEnded);
    idleTimer->setSingleShot(true);
    QObject::connect(idleTimer, &QTimer::timeout, this, &GameSession::onIdleTimer);
    QObject::connect(scriptEngine, &ScriptEngine::commandToSend, this, &GameSession::onScriptCommand);
    QObject::connect(scriptEngine, &ScriptEngine::variableChanged, this, &GameSession::variableUpdated);
    QObject::connect(scriptEngine, &ScriptEngine::keyBindingsChanged, this, &GameSession::keyBindingsChanged);

    const Scripts scripts = storage->getScripts(character);
    scriptEngine->setScripts(scripts);
    storage->ensureScriptDir(character);
    scriptEngine->setScriptDir(getScriptDir());
    scriptEngine->setMsdpCallback([this](const QString& name) { return getMsdpVariable(name); });

    // Features first: whether a module that fails to load is reported
    // depends on them.
    loadFeatures();
    applyFeatures();
    for (const LuaModule& module : scripts.luaModules) {
        if (module.enabled)
            scriptEngine->loadLuaModule(module.name);
    }
}

GameSession::~GameSession() = default;

void GameSession::loadFeatures()
{
    QList<int> stored = storage->getEnabledFeatures(character);
    if (GameFeatures::usesHomeDefaults(stored, character.host)) {
        stored = GameFeatures::homeDefaults();
        storage->setEnabledFeatures(character, stored);
    }
    enabledFeatures.clear();
    for (int value : stored)
        enabledFeatures.append(static_cast<GameFeature>(value));
}

void GameSession::applyFeatures()
{
    showsPromptsEarly = isFeatureEnabled(GameFeature::StandardTelnet);
    connection->setStandardTelnet(showsPromptsEarly);
    if (!showsPromptsEarly)
        idleTimer->stop();
    scriptEngine->setConveniencesEnabled(isFeatureEnabled(GameFeature::ClientConveniences));
}

void GameSession::connect()
{
    connection->connectToServer(character.host, character.port);
}

void GameSession::disconnect()
{
    connection->disconnectFromServer();
}

bool GameSession::isConnected() const
{
    return connection->isConnected();
}

void GameSession::sendCommand(const QString& input)
{
    // While the server hides what is typed, the line is a password: with
    // client conveniences it would otherwise be read as commands, and a ";",
    // "$" or "#" in it would change what is sent.
    if (serverHidesInput && scriptEngine->conveniencesEnabled()) {
        onScriptCommand(input);
        return;
    }
    scriptEngine->processInput(input);
}

void GameSession::triggerKeyBinding(const QString& key)
{
    scriptEngine->triggerKeyBinding(key);
}

void GameSession::setWindowSize(int columns, int rows)
{
    connection->setWindowSize(columns, rows);
}

void GameSession::updateScripts(const Scripts& scripts)
{
    scriptEngine->setScripts(scripts);
    storage->setScripts(character, scripts);
    emit scriptsUpdated(scripts);
}

QString GameSession::getScriptDir() const
{
    return storage->getScriptDir(character);
}

QList<QString> GameSession::getLuaFunctions() const
{
    return scriptEngine->getLuaFunctions();
}

QString GameSession::getMsdpVariable(const QString& name) const
{
    QMutexLocker locker(&msdpMutex);
    return msdpVariables.value(name);
}

bool GameSession::setMsdpVariable(const QString& name, const QString& value)
{
    {
        QMutexLocker locker(&msdpMutex);
        // The table's bounds (see the header) keep a server that floods names
        // or values from growing it without end; what does not fit is
        // counted, and an existing name keeps its last value.
        const bool fits = name.size() <= kMaxMsdpNameLength && value.size() <= kMaxMsdpValueLength &&
                          (msdpVariables.size() < kMaxMsdpVariables || msdpVariables.contains(name));
        if (!fits) {
            droppedMsdpUpdates += droppedMsdpUpdates < std::numeric_limits<int>::max() ? 1 : 0;
            return false;
        }
        msdpVariables.insert(name, value);
    }
    emit msdpUpdated(name, value);
    return true;
}

QMap<QString, QString> GameSession::getAllMsdpVariables() const
{
    QMutexLocker locker(&msdpMutex);
    return msdpVariables;
}

bool GameSession::isFeatureEnabled(GameFeature feature) const
{
    return enabledFeatures.contains(feature);
}

void GameSession::setFeatureEnabled(GameFeature feature, bool enabled)
{
    if (enabled && !enabledFeatures.contains(feature))
        enabledFeatures.append(feature);
    else if (!enabled)
        enabledFeatures.removeAll(feature);

    QList<int> codes;
    codes.reserve(enabledFeatures.size());
    for (GameFeature f : enabledFeatures)
        codes.append(static_cast<int>(f));
    storage->setEnabledFeatures(character, codes);
    applyFeatures();
    emit featuresChanged();
}

void GameSession::onMudConnected()
{
    emit connected();
}

void GameSession::onMudDisconnected()
{
    // A server's last words may lack their line feed; with prompts shown early
    // they end there as a finished line, so they are shown (and seen by the
    // triggers) now and a later link's text starts on a line of its own.
    if (showsPromptsEarly)
        onMudPromptEnded();
    emit disconnected();
}

void GameSession::onMudTextReceived(const QString& text)
{
    emit textReceived(processMudText(text));
    if (showsPromptsEarly) {
        sinceText.start();
        if (!idleTimer->isActive() && !lineAssembler.pending().isEmpty())
            idleTimer->start(kPromptIdleMs);
    }
}

void GameSession::onMudMsdpVariable(const QString& name, const QString& value)
{
    if (!setMsdpVariable(name, value))
        return;
    // The pair is never shown, so a highlight that a trigger asks for here
    // has no line to land on and is dropped.
    scriptEngine->processGameText(name + QLatin1Char('=') + value);
}

int GameSession::droppedMsdpCount() const
{
    QMutexLocker locker(&msdpMutex);
    return droppedMsdpUpdates;
}

void GameSession::onScriptCommand(const QString& command)
{
    // The connection drops what it cannot send; say so instead of losing it silently.
    if (!connection->isConnected()) {
        emit commandNotSent(command);
        return;
    }
    connection->sendCommand(command);
}

QString GameSession::processMudText(const QString& text)
{
    outputBuffer.clear();
    lineAssembler.append(text, [this](ServerLineAssembler::Line&& line) { completeLine(line, true); });
    return outputBuffer;
}

void GameSession::onMudPromptEnded()
{
    idleTimer->stop();
    if (std::optional<ServerLineAssembler::Line> prompt = lineAssembler.endPrompt()) {
        outputBuffer.clear();
        completeLine(*prompt, false);
        emit textReceived(outputBuffer);
    }
}

void GameSession::onIdleTimer()
{
    const qint64 quiet = sinceText.elapsed();
    if (quiet < kPromptIdleMs) {
        idleTimer->start(int(kPromptIdleMs - quiet));
        return;
    }
    const QString early = lineAssembler.showPending();
    if (!early.isEmpty())
        emit textReceived(early);
}

namespace {

// The colour goes around the text but never after a CR that ends it: the
// terminal would take a CR that is not right before the line feed as a line
// break of its own, and every highlighted line would gain an empty one.
QString highlighted(const QString& text, const QString& color, bool wholeVisibleLine)
{
    const bool endsWithCr = text.endsWith(QLatin1Char('\r'));
    QString result = LineHighlight::apply(text.chopped(endsWithCr ? 1 : 0), color, wholeVisibleLine);
    if (endsWithCr)
        result += QLatin1Char('\r');
    return result;
}

} // namespace

void GameSession::completeLine(const ServerLineAssembler::Line& line, bool endedByLineFeed)
{
    // What the screen does not have yet; all of it unless shown early.
    QString rest = line.shown ? line.text.mid(line.shown) : line.text;
    // The second test is redundant but harmless; prompts skip triggers and channels.
    if (line.text.startsWith(QLatin1Char('>')) || line.text.startsWith(QLatin1String(">>"))) {
        emit promptReceived(line.text);
    } else {
        // A trigger's highlight applies to the line that fired it, once.
        const ScriptEngine::LineResult result = scriptEngine->processGameText(line.text);
        QString channelLine = line.text;
        if (result.highlight) {
            emit lineHighlighted();
            const bool whole = isFeatureEnabled(GameFeature::ClientConveniences);
            channelLine = highlighted(line.text, result.highlightColor, whole);
            // Text already on screen keeps its colours; the rest takes the highlight.
            rest = line.shown ? highlighted(rest, result.highlightColor, whole) : channelLine;
        }
        const QString channel = channelDetector.detectChannel(channelLine);
        if (!channel.isEmpty())
            emit channelMessage(channel, channelLine);
    }
    if (line.breakBefore)
        outputBuffer += QLatin1Char('\n');
    outputBuffer += rest;
    if (endedByLineFeed)
        outputBuffer += QLatin1Char('\n');
}
