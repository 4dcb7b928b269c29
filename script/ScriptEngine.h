#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QStringMatcher>

#include <functional>
#include <vector>

#include "lua/LuaEngine.h"
#include "script/CommandProcessor.h"
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

    explicit ScriptEngine(QObject* parent = nullptr);
    ~ScriptEngine() override;

    void setScripts(const Scripts& scripts);
    const Scripts& scripts() const { return m_scripts; }

    void processInput(const QString& input);
    void processGameText(const QString& text);
    void checkTriggers(const QString& line);
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
    // The per-character client conveniences switch; stored until the engine acts on it.
    void setConveniencesEnabled(bool on) { m_conveniencesEnabled = on; }
    bool conveniencesEnabled() const { return m_conveniencesEnabled; }

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
    // An enabled trigger prepared once per setScripts, so a line costs a
    // search per trigger and no pattern compilation.
    struct PreparedTrigger {
        qsizetype index = 0;
        bool regex = false;
        bool matchesEverything = false;
        bool inCombinedRegex = false;
        bool inCombinedPlain = false;
        QStringMatcher plain;
        QRegularExpression expression;
    };

    void prepareTriggers();
    void prepareCombinedRegex();
    void setupLuaCallbacks();
    void runLuaCall(const QString& call, const QString& matchText);

    Scripts m_scripts;
    std::vector<PreparedTrigger> m_preparedTriggers;
    // One alternation of every regex trigger that can safely share it (see
    // prepareTriggers): when it fails on a line, none of those triggers can
    // match, and the line costs one search instead of one per trigger.
    QRegularExpression m_combinedRegex;
    bool m_useCombinedRegex = false;
    // The same for plain triggers whose text is ASCII, where ignoring case
    // means the same to the expression engine as to a plain search.
    QRegularExpression m_combinedPlain;
    bool m_useCombinedPlain = false;
    QMap<QString, QTimer*> m_timers;
    MsdpLookup m_msdpCallback;
    CommandProcessor m_processor;
    LuaEngine m_lua;
    bool m_conveniencesEnabled = false;
};
