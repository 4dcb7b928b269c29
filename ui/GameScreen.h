#pragma once

#include <QList>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include "session/CommandHistory.h"
#include "storage/Scripts.h"
#include "terminal/AnsiParser.h"

class GameSession;
class TerminalWidget;
class VitalsWidget;
class OpponentWidget;
class ChannelPanel;
class ScriptEditor;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QShortcut;
class QTabWidget;

// Everything the player sees of one session: the terminal, the input line with
// its history, the find bar, the toolbar and the side panels fed by MSDP.
class GameScreen : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GameScreen)

public:
    static constexpr qint64 kUnknownMaximum = 999999;

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
    void onMsdpUpdated(const QString& name, const QString& value);
    void onChannelMessage(const QString& channel, const QString& text);
    void onKeyBindingsChanged(const QList<KeyBinding>& bindings);
    void onTerminalFrozenChanged(bool frozen);
    void onInputSubmitted();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setupUi();
    QWidget* buildToolbar();
    QWidget* buildFindBar();
    QWidget* buildSidePanel();
    QWidget* buildStatsTab();
    QWidget* buildAffectsTab();
    QWidget* buildRoomTab();
    void wireSignals();

    bool browseHistory(int key);
    void showFindBar();
    void hideFindBar();
    void onFindTextChanged(const QString& text);
    void findNext(bool forward);
    void openSettings();
    void openScriptEditor(const QString& tab);
    void updateOpponent();

    GameSession* session;
    qint64 powerLevel = 0;
    qint64 powerLevelMax = kUnknownMaximum;
    qint64 ki = 0;
    qint64 kiMax = kUnknownMaximum;
    qint64 fatigue = 0;
    qint64 fatigueMax = kUnknownMaximum;

    CommandHistory history;
    QList<QShortcut*> keyShortcuts;

    TerminalWidget* terminal = nullptr;
    QLineEdit* input = nullptr;
    QPushButton* sendButton = nullptr;
    QWidget* findBar = nullptr;
    QLineEdit* findField = nullptr;
    QLabel* statusLabel = nullptr;
    QLabel* pausedLabel = nullptr;
    VitalsWidget* vitals = nullptr;
    OpponentWidget* opponent = nullptr;
    QLabel* comboLabel = nullptr;
    QTabWidget* sideTabs = nullptr;
    ChannelPanel* channelPanel = nullptr;
    QLabel* statName = nullptr;
    QLabel* statRaceClass = nullptr;
    QLabel* statLevel = nullptr;
    QLabel* statPowerLevel = nullptr;
    QLabel* statKi = nullptr;
    QLabel* statFatigue = nullptr;
    QLabel* statResistances = nullptr;
    QLabel* statMagicPower = nullptr;
    QListWidget* affectsList = nullptr;
    QLabel* roomName = nullptr;
    QLabel* roomExits = nullptr;
    QListWidget* roomCharacters = nullptr;
    QPointer<ScriptEditor> scriptEditor;
    // Channel lists show plain text; this parser only strips the escapes.
    AnsiParser channelTextParser;
};
