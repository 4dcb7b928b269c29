#pragma once

#include <QList>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include "session/CommandHistory.h"
#include "storage/Scripts.h"

class ChannelPanel;
class FindBar;
class GameSession;
class ScriptEditor;
class SidePanel;
class TerminalWidget;
class QLabel;
class CommandInput;
class QPushButton;
class QShortcut;

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

signals:
    void disconnect();
    void profiles();

public slots:
    void onSessionConnected();
    void onSessionDisconnected();
    void onSessionTextReceived(const QString& text);
    void onChannelMessage(const QString& channel, const QString& text);
    void onKeyBindingsChanged(const QList<KeyBinding>& bindings);
    void onTerminalFrozenChanged(bool frozen);
    void onInputSubmitted();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void setupUi();
    QWidget* buildToolbar(QList<QWidget*>& buttons);
    void addScreenShortcuts();
    void wireSignals();

    void setupFocusChain(const QList<QWidget*>& toolbarButtons);
    void onCommandEntered(const QString& line);
    void onPageRequested(bool up);
    void openSettings();
    void openScriptEditor(const QString& tab);

    GameSession* session;
    CommandHistory history;
    QList<QShortcut*> keyShortcuts;
    // The screen's own shortcuts; a player's key binding on the same keys wins.
    QList<QShortcut*> screenShortcuts;

    TerminalWidget* terminal = nullptr;
    CommandInput* input = nullptr;
    QPushButton* sendButton = nullptr;
    FindBar* findBar = nullptr;
    QLabel* statusLabel = nullptr;
    QLabel* pausedLabel = nullptr;
    SidePanel* sidePanel = nullptr;
    ChannelPanel* channelPanel = nullptr;
    QPointer<ScriptEditor> scriptEditor;
};
