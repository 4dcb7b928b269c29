#pragma once

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QString>

#include <optional>

#include "storage/Character.h"

class CharacterDialog;
class ConnectScreen;
class GameScreen;
class GameSession;
class HelpDialog;
class ProfileTransfer;
class QAction;
class QTabWidget;

// The one top-level window: the character list in the first tab and one tab
// per live session.
class MainWindow : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    MainWindow();
    ~MainWindow() override;

    QTabWidget* getTabs() const { return tabs; }
    GameScreen* getScreen(const QString& key) const { return screens.value(key).screen; }

public slots:
    void onConnectPressed(const Character& character);
    void onAddCharacter();
    void onEditCharacter(const Character& character);
    void onDeleteCharacter(const Character& character);
    void onEditFeatures(const Character& character);
    void onTabCloseRequested(int index);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void closeSession(const QString& key);
    void setupMenuBar();
    bool acceptCharacter(Character& character);
    GameScreen* addScreen(GameSession* session);
    void onSessionClosed(GameSession* session);
    bool confirm(const QString& title, const QString& text);
    // The character the menu acts for: the session in front, else the one
    // picked in the character list.
    std::optional<Character> currentCharacter() const;
    // Help and the profile actions do nothing unless the character has
    // client conveniences switched on.
    bool conveniencesEnabled(const Character& character) const;
    void onHelp();
    void onExportProfile();
    void onImportProfile();
    void onOutputArrived(GameScreen* screen, bool highlighted);
    void onCurrentTabChanged(int index);
    void showActivity(int index, int level);
    // Ctrl+PageUp / Ctrl+PageDown: the tab before or after the one in front.
    void addTabSwitchKeys();
    QAction* addWindowKey(QAction* action, const QKeySequence& key);
    // The window's own keys (Quit, tab switching) work unless the session
    // in front binds the same key itself.
    void updateWindowKeys();
    void fitToScreen();
    void restoreWindowState();
    void saveWindowState();

    QTabWidget* tabs = nullptr;
    ConnectScreen* connectScreen = nullptr;
    // One entry per open session, by character key; the session is the
    // screen's. Entries go when the session manager closes the session.
    struct SessionTab {
        GameScreen* screen = nullptr;
        // Lost or never made its link: CONNECT then reconnects. While a
        // link is being made it is false, so a second press does not
        // start over.
        bool down = false;
        // New output since the player last looked: 0 none, 1 output,
        // 2 output a highlighting trigger coloured.
        int activity = 0;
    };
    QHash<QString, SessionTab> screens;
    CharacterDialog* characterDialog = nullptr;
    ProfileTransfer* profileTransfer = nullptr;
    QPointer<HelpDialog> helpDialog;
    // Each action with the key it has while no key binding takes that key.
    QList<QPair<QAction*, QKeySequence>> windowKeys;
    // The game screens' output/side panel split, shared by all and kept.
    QList<int> splitterSizes;
};
