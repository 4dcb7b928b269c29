#include "session/SessionManager.h"

#include <QCoreApplication>

#include "session/GameSession.h"
#include "storage/Storage.h"

struct SessionManagerHolder {
    SessionManager* manager = new SessionManager;
    SessionManagerHolder()
    {
        // Sessions own sockets and timers, which must go while the application
        // object still exists, not in the static destructors after it.
        qAddPostRoutine([] { delete std::exchange(holder().manager, nullptr); });
    }
    static SessionManagerHolder& holder()
    {
        static SessionManagerHolder instance;
        return instance;
    }
};

SessionManager* SessionManager::instance()
{
    return SessionManagerHolder::holder().manager;
}

SessionManager::SessionManager(Storage* store)
    : storage(store ? store : Storage::instance())
{
}

SessionManager::~SessionManager() = default;

GameSession* SessionManager::createSession(const Character& character)
{
    if (GameSession* existing = getSession(character))
        return existing;
    if (sessions.size() >= kMaxSessions)
        return nullptr;

    auto* session = new GameSession(character, this, storage);
    sessions.append(session);
    emit sessionCreated(session);
    return session;
}

GameSession* SessionManager::getSession(const Character& character) const
{
    const QString key = character.key();
    for (GameSession* session : sessions) {
        if (session->getCharacter().key() == key)
            return session;
    }
    return nullptr;
}

void SessionManager::setActiveSession(GameSession* session)
{
    if (session == activeSession)
        return;
    activeSession = session;
    emit activeSessionChanged(session);
    if (!session)
        return;

    // Remember the character played last so the connect screen preselects it.
    const QString key = session->getCharacter().key();
    const QList<Character> characters = storage->getCharacters();
    for (int i = 0; i < characters.size(); ++i) {
        if (characters[i].key() == key) {
            storage->setActiveCharacterIndex(i);
            return;
        }
    }
}

void SessionManager::closeSession(GameSession* session)
{
    if (!sessions.contains(session))
        return;
    if (session == activeSession)
        activeSession = nullptr;
    session->disconnect();
    sessions.removeOne(session);
    emit sessionClosed(session);
    session->deleteLater();
}
