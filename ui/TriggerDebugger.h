#pragma once

#include <QPointer>
#include <QWidget>

class GameSession;
class QListWidget;

// A log of every trigger that fires in the attached session, and of every Lua
// error, so a player can see why a trigger ran and what its script did.
class TriggerDebugger : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TriggerDebugger)

public:
    static constexpr int kMatchPreviewLength = 50;

    explicit TriggerDebugger(QWidget* parent = nullptr);

    void setSession(GameSession* session);
    QListWidget* getLog() const { return log; }

public slots:
    void onTriggerFired(const QString& pattern, const QString& matchedText, const QString& commands);
    void onLuaError(const QString& message);
    void onClearDebugLog();

private:
    void setupUi();

    QPointer<GameSession> session;
    QListWidget* log = nullptr;
};
