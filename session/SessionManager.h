#pragma once

#include <QList>
#include <QObject>

#include "storage/Character.h"

class GameSession;
class Storage;

// Owns every live session: one per character key, at most sixteen, and
// remembers which one is in front.
class SessionManager : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SessionManager)

public:
    static constexpr int kMaxSessions = 16;

    // The program's one manager, using Storage::instance().
    static SessionManager* instance();

    // A manager of its own (tests); its sessions use `storage`, null meaning
    // Storage::instance().
    explicit SessionManager(Storage* storage = nullptr);
    ~SessionManager() override;

    GameSession* createSession(const Character& character);
    GameSession* getSession(const Character& character) const;
    GameSession* getActiveSession() const { return activeSession; }
    void setActiveSession(GameSession* session);
    void closeSession(GameSession* session);
    QList<GameSession*> getAllSessions() const { return sessions; }

signals:
    void sessionCreated(GameSession* session);
    void sessionClosed(GameSession* session);
    void activeSessionChanged(GameSession* session);

private:
    Storage* storage;
    QList<GameSession*> sessions;
    GameSession* activeSession = nullptr;
};
