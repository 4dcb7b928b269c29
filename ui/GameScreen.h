#pragma once

#include <QKeySequence>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include "session/CommandHistory.h"
#include "session/WordCompleter.h"
#include "storage/Scripts.h"

class ChannelPanel;
class FindBar;
class GameToolbar;
class GameSession;
class ScriptEditor;
class SidePanel;
class TerminalWidget;
class CommandInput;
class KeyBindingShortcuts;
class QPushButton;
class QShortcut;
class QTimer;

// Everything the player sees of one session: the terminal, the input line with
// its history, the find bar, the toolbar and the side panel fed by MSDP.
class GameScreen : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GameScreen)

public:
    GameScreen(GameSession* session, QWidget* parent);
    ~GameScreen() override;

    GameSession* getSession() const { return session; }
    TerminalWidget* getTerminal() const { return terminal; }
    QStringList getHistory() const { return history.entries(); }

    // The keys the player's bindings take; the window gives up its own on them.
    const QList<QKeySequence>& boundKeys() const;

    // How long a connect may go unanswered before the player is told.
    static constexpr int kConnectWaitMs = 15000;

signals:
    void disconnect();
    void profiles();
    // New server output was shown; highlighted when a trigger coloured a line.
    void outputArrived(bool highlighted);
    void connectionStateChanged(bool connected);
    void boundKeysChanged();

public slots:
    // The same session connects again (Ctrl+R, the Reconnect button).
    void reconnect();

    void onSessionConnected();
    void onSessionDisconnected();
    void onSessionTextReceived(const QString& text);
    void onChannelMessage(const QString& channel, const QString& text);
    void onKeyBindingsChanged(const QList<KeyBinding>& bindings);
    void onTerminalFrozenChanged(bool frozen);
    void onInputSubmitted();
    void onConnectionError(const QString& message);
    void onCommandNotSent(const QString& command);
    void onServerEchoChanged(bool serverEchoes);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void setupUi();
    void addScreenShortcuts();
    void wireSignals();
    void applyFeatures();
    void tellWindowSize();
    void startConnecting();
    void onConnectWaitExpired();

    void setupFocusChain();
    void onCommandEntered(const QString& line);
    void onPageRequested(bool up);
    void onCompletionRequested();
    void onLuaError(const QString& message);
    void onEchoText(const QString& text);
    bool conveniencesEnabled() const;
    void onTerminalFontSizeChanged(int size);
    void openSettings();
    void openScriptEditor(const QString& tab);

    GameSession* session;
    CommandHistory history;
    WordCompleter completer;
    KeyBindingShortcuts* keyShortcuts = nullptr;
    bool highlightPending = false;
    // While the server echoes, typed lines are secrets (passwords).
    bool secretInput = false;
    // A command that cannot go out is reported once per typed line, and once
    // per lost link for what timers and triggers send.
    bool typingCommand = false;
    bool typedNoticeShown = false;
    bool scriptNoticeShown = false;
    QTimer* connectWait = nullptr;

    TerminalWidget* terminal = nullptr;
    CommandInput* input = nullptr;
    QPushButton* sendButton = nullptr;
    FindBar* findBar = nullptr;
    GameToolbar* toolbar = nullptr;
    SidePanel* sidePanel = nullptr;
    ChannelPanel* channelPanel = nullptr;
    QPointer<ScriptEditor> scriptEditor;
};
