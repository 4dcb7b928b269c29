#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>

#include "script/ChannelDetector.h"
#include "session/GameFeature.h"
#include "session/ServerLineAssembler.h"
#include "storage/Character.h"
#include "storage/Scripts.h"

class MudConnection;
class ScriptEngine;
class QTimer;
class Storage;

// One live game: a character's connection, its scripts, its channel detector
// and its MSDP table. Server text arrives one character at a time, is cut into
// lines, run past the triggers, coloured where a trigger asked for it,
// classified into channels and handed on to the screen.
class GameSession : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GameSession)

public:
    // `storage` null means Storage::instance().
    GameSession(const Character& character, QObject* parent, Storage* storage = nullptr);
    ~GameSession() override;

    // Also reconnects a session whose link has ended; the MSDP table,
    // variables, features and pending text of the session stay as they are.
    void connect();
    void disconnect();
    bool isConnected() const;
    void sendCommand(const QString& input);
    void triggerKeyBinding(const QString& key);
    // The terminal's size in characters, passed on to the server when it asks.
    void setWindowSize(int columns, int rows);
    void updateScripts(const Scripts& scripts);
    QString getScriptDir() const;
    QList<QString> getLuaFunctions() const;

    QString getMsdpVariable(const QString& name) const;
    // False when the update does not fit the table's bounds and was dropped.
    bool setMsdpVariable(const QString& name, const QString& value);
    QMap<QString, QString> getAllMsdpVariables() const;
    // MSDP updates dropped by the bounds below since the session began.
    int droppedMsdpCount() const;

    // Bounds of the MSDP table, far above what a game sends (some dozens of
    // variables, the longest a list of a few KiB), so only a broken or hostile
    // server meets them; at most about 32 MiB of values.
    static constexpr int kMaxMsdpVariables = 1024;
    static constexpr int kMaxMsdpNameLength = 256;
    static constexpr int kMaxMsdpValueLength = 16 * 1024;

    bool isFeatureEnabled(GameFeature feature) const;
    void setFeatureEnabled(GameFeature feature, bool enabled);

    const Character& getCharacter() const { return character; }
    ScriptEngine* getScriptEngine() const { return scriptEngine; }
    MudConnection* getConnection() const { return connection; }

    QString processMudText(const QString& text);

    // With standard telnet, text that waits this long for its line feed is
    // shown (a prompt the server did not mark) and completed when the rest comes.
    static constexpr int kPromptIdleMs = 150;

signals:
    void connected();
    void disconnected();
    void error(const QString& message);
    void textReceived(const QString& text);
    // A trigger coloured a line of the text that textReceived brings next.
    // Never for an MSDP pair, which is not shown.
    void lineHighlighted();
    void promptReceived(const QString& line);
    void msdpUpdated(const QString& name, const QString& value);
    void channelMessage(const QString& channel, const QString& line);
    void variableUpdated(const QString& name, const QString& value);
    void keyBindingsChanged(const QList<KeyBinding>& bindings);
    // updateScripts took a new set (from the script editor or a profile import).
    void scriptsUpdated(const Scripts& scripts);
    // The connection's error text (refused, not found, closed, timed out).
    void connectionError(const QString& message);
    // A command was to go out while the session had no link; it was dropped.
    void commandNotSent(const QString& command);
    // The server took over (true) or gave back (false) echoing typed text.
    void serverEchoChanged(bool serverEchoes);
    // A feature was switched on or off (the screen follows some of them).
    void featuresChanged();

public slots:
    void onMudConnected();
    void onMudDisconnected();
    void onMudTextReceived(const QString& text);
    void onMudMsdpVariable(const QString& name, const QString& value);
    void onScriptCommand(const QString& command);
    void onMudPromptEnded();
    void onIdleTimer();

private:
    void loadFeatures();
    void applyFeatures();
    void completeLine(const ServerLineAssembler::Line& line, bool endedByLineFeed);

    Character character;
    Storage* storage;
    MudConnection* connection = nullptr;
    ScriptEngine* scriptEngine = nullptr;
    QTimer* idleTimer = nullptr;
    ChannelDetector channelDetector;
    QMap<QString, QString> msdpVariables;
    mutable QMutex msdpMutex;
    int droppedMsdpUpdates = 0; // guarded by msdpMutex
    QList<GameFeature> enabledFeatures;
    ServerLineAssembler lineAssembler;
    QString outputBuffer;
    bool showsPromptsEarly = false;
    bool serverHidesInput = false; // the server echoes, so input is a secret
    QElapsedTimer sinceText;
};
