#pragma once

#include <QMainWindow>
#include <QMap>
#include <QString>

#include "storage/Character.h"

class CharacterDialog;
class ConnectScreen;
class GameScreen;
class GameSession;
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
    GameScreen* getScreen(const QString& key) const { return screens.value(key); }

public slots:
    void onConnectPressed(const Character& character);
    void onAddCharacter();
    void onEditCharacter(const Character& character);
    void onDeleteCharacter(const Character& character);
    void onTabCloseRequested(int index);

private:
    void closeSession(const QString& key);
    void setupMenuBar();
    bool acceptCharacter(Character& character);

    QTabWidget* tabs = nullptr;
    ConnectScreen* connectScreen = nullptr;
    QMap<QString, GameScreen*> screens;
    QMap<QString, GameSession*> sessions;
    CharacterDialog* characterDialog = nullptr;
};
