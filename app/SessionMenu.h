#pragma once

#include <QObject>

class GameScreen;
class QAction;
class QMenu;
class QTabWidget;
class QWidget;

// The "Session" menu of the main window: reconnect, logging, timestamps,
// freezing and clearing, each acting on the game screen in front. Its
// entries are disabled while the character list is in front.
class SessionMenu final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SessionMenu)

public:
    SessionMenu(QMenu* menu, QTabWidget* tabs);

private:
    GameScreen* current() const;
    // Check marks and texts follow the screen in front.
    void refresh();
    void onLogToFile();

    QTabWidget* tabs;
    QAction* reconnect = nullptr;
    QAction* logToFile = nullptr;
    QAction* timestamps = nullptr;
    QAction* freeze = nullptr;
    QAction* clear = nullptr;
};
