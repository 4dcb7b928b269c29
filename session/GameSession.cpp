#include "session/GameSession.h"

#include <QMutexLocker>

#include "net/MudConnection.h"
#include "script/LineHighlight.h"
#include "script/ScriptEngine.h"
#include "storage/Storage.h"

GameSession::GameSession(const Character& character, QObject* parent)
    : QObject(parent)
    , character(character)
    , connection(new MudConnection(this))
    , scriptEngine(new ScriptEngine(this))
{
    // GameSession::connect() hides QObject::connect, hence the qualified calls.
    QObject::connect(connection, &MudConnection::connected, this, &GameSession::onMudConnected);
    QObject::connect(connection, &MudConnection::disconnected, this, &GameSession::onMudDisconnected);
    QObject::connect(connection, &MudConnection::textReceived, this, &GameSession::onMudTextReceived);
    QObject::connect(connection, &MudConnection::msdpVariable, this, &GameSession::onMudMsdpVariable);
    QObject::connect(scriptEngine, &ScriptEngine::commandToSend, this, &GameSession::onScriptCommand);
    QObject::connect(scriptEngine, &ScriptEngine::variableChanged, this, &GameSession::variableUpdated);
    QObject::connect(scriptEngine, &ScriptEngine::keyBindingsChanged, this, &GameSession::keyBindingsChanged);

    Storage* storage = Storage::instance();
    const Scripts scripts = storage->getScripts(character);
    scriptEngine->setScripts(scripts);
    storage->ensureScriptDir(character);
    scriptEngine->setScriptDir(getScriptDir());
    scriptEngine->setMsdpCallback([this](const QString& name) { return getMsdpVariable(name); });

    for (const LuaModule& module : scripts.luaModules) {
        if (module.enabled)
            scriptEngine->loadLuaModule(module.name);
    }
    loadFeatures();
}

GameSession::~GameSession() = default;

void GameSession::loadFeatures()
{
    Storage* storage = Storage::instance();
    QList<int> stored = storage->getEnabledFeatures(character);
    if (stored.isEmpty() && character.host.toLower().contains(GameFeatures::kHomeDomain)) {
        stored = GameFeatures::homeDefaults();
        storage->setEnabledFeatures(character, stored);
    }
    enabledFeatures.clear();
    for (int value : stored)
        enabledFeatures.append(static_cast<GameFeature>(value));
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
    scriptEngine->processInput(input);
}

void GameSession::triggerKeyBinding(const QString& key)
{
    scriptEngine->triggerKeyBinding(key);
}

void GameSession::updateScripts(const Scripts& scripts)
{
    scriptEngine->setScripts(scripts);
    Storage::instance()->setScripts(character, scripts);
}

QString GameSession::getScriptDir() const
{
    return Storage::instance()->getScriptDir(character);
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

void GameSession::setMsdpVariable(const QString& name, const QString& value)
{
    {
        QMutexLocker locker(&msdpMutex);
        msdpVariables.insert(name, value);
    }
    emit msdpUpdated(name, value);
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
    Storage::instance()->setEnabledFeatures(character, codes);
}

void GameSession::onMudConnected()
{
    emit connected();
}

void GameSession::onMudDisconnected()
{
    emit disconnected();
}

void GameSession::onMudTextReceived(const QString& text)
{
    emit textReceived(processMudText(text));
}

void GameSession::onMudMsdpVariable(const QString& name, const QString& value)
{
    setMsdpVariable(name, value);
    // The pair is never shown, so a highlight that a trigger asks for here
    // has no line to land on and is dropped.
    scriptEngine->processGameText(name + QLatin1Char('=') + value);
}

void GameSession::onScriptCommand(const QString& command)
{
    connection->sendCommand(command);
}

QString GameSession::processMudText(const QString& text)
{
    // The connection hands text on one character at a time, so nearly every
    // call brings a single character that only extends the pending line.
    if (text.size() == 1 && text.front() != u'\n' && lineBuffer.size() < kMaxPendingLine) {
        lineBuffer.append(text.front());
        return QString();
    }
    outputBuffer.clear();
    // Only the new text is scanned for line feeds: the pending line is never
    // searched again, so a long line costs the same as many short ones.
    const QStringView incoming(text);
    qsizetype start = 0;
    while (start < incoming.size()) {
        const qsizetype lineFeed = incoming.indexOf(QLatin1Char('\n'), start);
        const qsizetype end = lineFeed < 0 ? incoming.size() : lineFeed;
        while (start < end) {
            if (lineBuffer.size() >= kMaxPendingLine)
                completeLine(std::exchange(lineBuffer, QString()));
            const qsizetype take = qMin<qsizetype>(kMaxPendingLine - lineBuffer.size(), end - start);
            lineBuffer.append(incoming.mid(start, take));
            start += take;
        }
        if (lineFeed < 0)
            break;
        completeLine(std::exchange(lineBuffer, QString()));
        start = lineFeed + 1;
    }
    return outputBuffer;
}

void GameSession::completeLine(QString line)
{
    // The second test is redundant but harmless; prompts skip triggers and channels.
    if (line.startsWith(QLatin1Char('>')) || line.startsWith(QLatin1String(">>"))) {
        emit promptReceived(line);
    } else {
        // A trigger's highlight applies to the line that fired it, once.
        const ScriptEngine::LineResult result = scriptEngine->processGameText(line);
        if (result.highlight)
            line = LineHighlight::apply(line, result.highlightColor,
                                        isFeatureEnabled(GameFeature::ClientConveniences));

        const QString channel = channelDetector.detectChannel(line);
        if (!channel.isEmpty())
            emit channelMessage(channel, line);
    }
    outputBuffer += line;
    outputBuffer += QLatin1Char('\n');
}
