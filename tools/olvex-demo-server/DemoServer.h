#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include "tools/olvex-demo-server/World.h"

class PlayerConnection;
class QTcpServer;

// The demo game: listens on 127.0.0.1, gives every client a PlayerConnection
// and lets the players find each other (tells, chat, who is in which room).
class DemoServer final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DemoServer)

public:
    // Pace of the game; tests shorten it.
    struct Timing {
        int regenMs = 2000;
        int roundMs = 1500;
        int ambientMinMs = 4000;
        int ambientMaxMs = 8000; // 0 turns the ambient chatter off
    };

    explicit DemoServer(Timing timing, QObject* parent = nullptr);
    explicit DemoServer(QObject* parent = nullptr);

    // Port 0 picks a free port; port() then tells which.
    bool listen(quint16 port);
    quint16 port() const;
    QString errorString() const;

    const World& world() const { return gameWorld; }
    const Timing& timing() const { return pace; }

    // Players who have chosen a name.
    PlayerConnection* findPlayer(const QString& name) const;
    QStringList playersInRoom(const QString& roomId, const PlayerConnection* except) const;
    QStringList playerNames() const;
    int connectionCount() const;

    // Sends a line to every player in the game (or in one room), except one.
    void broadcast(const QByteArray& line, const PlayerConnection* except = nullptr);
    void tellRoom(const QString& roomId, const QByteArray& line, const PlayerConnection* except);
    // Someone entered or left a room: everyone there gets a fresh occupants list.
    void roomOccupantsChanged(const QString& roomId);

signals:
    void connectionClosed();

private:
    void onNewConnection();
    void onPlayerClosed(PlayerConnection* player);
    QList<PlayerConnection*> livePlayers() const;

    Timing pace;
    World gameWorld;
    QTcpServer* listener;
    QList<QPointer<PlayerConnection>> connections;
};
