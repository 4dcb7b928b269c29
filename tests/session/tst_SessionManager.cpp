#include <QtTest>

#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"

class tst_SessionManager : public QObject {
    Q_OBJECT

private slots:
    void oneSessionPerCharacterUpToSixteen();
    void activeSessionIsRememberedAndClosedQuietly();

private:
    QTemporaryDir dataDir;
    Storage storage{dataDir.path()};
    SessionManager sessions{&storage};
};

void tst_SessionManager::oneSessionPerCharacterUpToSixteen()
{
    SessionManager* manager = &sessions;
    QSignalSpy created(manager, &SessionManager::sessionCreated);

    const Character hero{"Hero", "", "127.0.0.1", 4000, ""};
    GameSession* first = manager->createSession(hero);
    QVERIFY(first);
    QCOMPARE(manager->createSession(Character{"Hero", "new password", "127.0.0.1", 4000, ""}), first);
    QCOMPARE(created.count(), 1);

    GameSession* second = manager->createSession(Character{"Hero", "", "127.0.0.1", 4001, ""});
    QVERIFY(second && second != first);

    for (int i = 2; i < SessionManager::kMaxSessions; ++i)
        QVERIFY(manager->createSession(Character{QString("C%1").arg(i), "", "h", 1, ""}));
    QCOMPARE(manager->getAllSessions().size(), 16);
    QVERIFY(!manager->createSession(Character{"Seventeenth", "", "h", 1, ""}));

    QSignalSpy closed(manager, &SessionManager::sessionClosed);
    QPointer<GameSession> watched(second);
    manager->closeSession(second);
    QCOMPARE(closed.count(), 1);
    QVERIFY(watched); // still valid until the event loop runs
    QTRY_VERIFY(!watched);
    QVERIFY(manager->createSession(Character{"Seventeenth", "", "h", 1, ""}));

    GameSession stranger(Character{"X", "", "h", 1, ""}, nullptr);
    manager->closeSession(&stranger); // not managed: nothing happens
    QCOMPARE(closed.count(), 1);

    for (GameSession* s : manager->getAllSessions())
        manager->closeSession(s);
    QTRY_VERIFY(manager->getAllSessions().isEmpty());
}

void tst_SessionManager::activeSessionIsRememberedAndClosedQuietly()
{
    SessionManager* manager = &sessions;
    const Character a{"A", "", "h", 1, ""};
    const Character b{"B", "", "h", 2, ""};
    storage.setCharacters({a, b});
    storage.setActiveCharacterIndex(0);

    GameSession* session = manager->createSession(b);
    QSignalSpy changed(manager, &SessionManager::activeSessionChanged);
    manager->setActiveSession(session);
    manager->setActiveSession(session);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(storage.getActiveCharacterIndex(), 1);

    QSignalSpy closed(manager, &SessionManager::sessionClosed);
    manager->closeSession(session);
    QVERIFY(!manager->getActiveSession());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(closed.count(), 1);

    // A session whose character is no longer listed stores no index.
    GameSession* unlisted = manager->createSession(Character{"Z", "", "h", 9, ""});
    manager->setActiveSession(unlisted);
    QCOMPARE(storage.getActiveCharacterIndex(), 1);
    manager->closeSession(unlisted);
}

OLVEX_TEST_MAIN(tst_SessionManager, QCoreApplication)
#include "tst_SessionManager.moc"
