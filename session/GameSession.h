#pragma once

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>

#include "script/ChannelDetector.h"
#include "session/GameFeature.h"
#include "storage/Character.h"
#include "storage/Scripts.h"

class MudConnection;
class ScriptEngine;

// One live game: a character's connection, its scripts, its channel detector
// and its MSDP table. Server text arrives one character at a time, is cut into
// lines, run past the triggers, coloured where a trigger asked for it,
// classified into channels and handed on to the screen.
class GameSession : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GameSession)

public:
    GameSession(const Character& character, QObject* parent);
    ~GameSession() override;

    void connect();
    void disconnect();
    bool isConnected() const;
    void sendCommand(const QString& input);
    void triggerKeyBinding(const QString& key);
    void updateScripts(const Scripts& scripts);
    QString getScriptDir() const;
    QList<QString> getLuaFunctions() const;

    QString getMsdpVariable(const QString& name) const;
    void setMsdpVariable(const QString& name, const QString& value);
    QMap<QString, QString> getAllMsdpVariables() const;

    bool isFeatureEnabled(GameFeature feature) const;
    void setFeatureEnabled(GameFeature feature, bool enabled);

    const Character& getCharacter() const { return character; }
    ScriptEngine* getScriptEngine() const { return scriptEngine; }
    MudConnection* getConnection() const { return connection; }

    QString processMudText(const QString& text);

    // A server that never sends a line feed must not grow the pending line
    // without bound: at this many characters it is delivered as a line.
    static constexpr int kMaxPendingLine = 64 * 1024;

signals:
    void connected();
    void disconnected();
    void error(const QString& message);
    void textReceived(const QString& text);
    void promptReceived(const QString& line);
    void msdpUpdated(const QString& name, const QString& value);
    void channelMessage(const QString& channel, const QString& line);
    void variableUpdated(const QString& name, const QString& value);
    void keyBindingsChanged(const QList<KeyBinding>& bindings);

public slots:
    void onMudConnected();
    void onMudDisconnected();
    void onMudTextReceived(const QString& text);
    void onMudMsdpVariable(const QString& name, const QString& value);
    void onScriptCommand(const QString& command);

private:
    void loadFeatures();
    void completeLine(QString line);

    Character character;
    MudConnection* connection = nullptr;
    ScriptEngine* scriptEngine = nullptr;
    ChannelDetector channelDetector;
    QMap<QString, QString> msdpVariables;
    mutable QMutex msdpMutex;
    QList<GameFeature> enabledFeatures;
    QString lineBuffer;
    QString outputBuffer;
};
