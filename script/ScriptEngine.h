#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

#include "lua/LuaEngine.h"
#include "script/CommandProcessor.h"
#include "script/TriggerMatcher.h"
#include "storage/Scripts.h"

class QTimer;

// The automation of one session: aliases on typed input, triggers on game
// text, timers, key bindings and "lua:" calls. Every command that results
// leaves through commandToSend; the engine never touches the connection.
class ScriptEngine : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ScriptEngine)

public:
    using MsdpLookup = std::function<QString(const QString&)>;

    // What the triggers made of one line, for whoever shows it: the highlight
    // comes back here rather than through a signal and a table of pending
    // lines, so it lands on this line and on no other.
    struct LineResult {
        bool highlight = false;
        QString highlightColor;
    };

    explicit ScriptEngine(QObject* parent = nullptr);
    ~ScriptEngine() override;

    void setScripts(const Scripts& scripts);
    const Scripts& scripts() const { return m_scripts; }

    void processInput(const QString& input);
    LineResult processGameText(const QString& text);
    LineResult checkTriggers(const QString& line);
    void executeCommands(const QString& commands, const QString& matchText, const QStringList& matches);

    void startTimer(const Timer& timer);
    void stopTimer(const QString& name);
    QStringList runningTimers() const { return m_timers.keys(); }

    void triggerKeyBinding(const QString& keySequence);

    void setVariable(const QString& name, const QString& value);
    QString getVariable(const QString& name) const;

    void setMsdpCallback(MsdpLookup callback);

    void setScriptDir(const QString& dir);
    bool loadLuaModule(const QString& name);
    void reloadAllLuaModules(const QStringList& moduleNames);
    void unloadLuaModules();
    QStringList getLuaFunctions() const;
    QString getLuaLastError() const;
    // Wall-clock budget of one Lua call; 0 turns the guard off.
    void setLuaTimeLimitMs(int milliseconds);
    // The per-character client conveniences switch. On: typed lines are
    // command blocks (";", the command language, "lua:", and aliases by
    // their first word with %0 to %9 for the rest), triggers see the text
    // without escape sequences, and Lua errors name module and function and
    // include modules that fail to load. See CommandProcessor for the language.
    void setConveniencesEnabled(bool on);
    bool conveniencesEnabled() const { return m_conveniencesEnabled; }
    // The player's "repeat mode": with conveniences, "#N" on a typed line
    // repeats only while it is on (it is on unless the player turns it off).
    void setTypedRepeatEnabled(bool on) { m_typedRepeatEnabled = on; }

signals:
    void commandToSend(const QString& command);
    void variableChanged(const QString& name, const QString& value);
    void triggerFired(const QString& triggerName, const QString& matchedText, const QString& commands);
    void lineHighlight(const QString& text, const QString& color);
    void keyBindingsChanged(const QList<KeyBinding>& bindings);
    void echoText(const QString& text);
    void luaError(const QString& message);

public slots:
    void onTimerElapsed();

private:
    void setupLuaCallbacks();
    const Alias* findAlias(const QString& text) const;
    void runTypedLine(const QString& line);
    void runAlias(const Alias& alias, const QString& typed, const QString& arguments);
    void runPiece(const QString& piece, const QString& matchText, bool repeatAllowed);
    void runLuaCall(const QString& call, const QString& matchText);
    void reportLoadFailure(const QString& name);

    Scripts m_scripts;
    // Compiled once per setScripts, so a line costs no pattern compilation.
    TriggerMatcher m_triggers;
    QMap<QString, QTimer*> m_timers;
    MsdpLookup m_msdpCallback;
    CommandProcessor m_processor;
    LuaEngine m_lua;
    bool m_conveniencesEnabled = false;
    bool m_typedRepeatEnabled = true;
};
