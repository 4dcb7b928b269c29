#include "tools/olvex-demo-server/DemoServer.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include "tools/olvex-demo-server/Ansi.h"
#include "tools/olvex-demo-server/PlayerConnection.h"

DemoServer::DemoServer(Timing timing, QObject* parent)
    : QObject(parent)
    , pace(timing)
    , listener(new QTcpServer(this))
{
    connect(listener, &QTcpServer::newConnection, this, &DemoServer::onNewConnection);
}

DemoServer::DemoServer(QObject* parent)
    : DemoServer(Timing{}, parent)
{
}

bool DemoServer::listen(quint16 port)
{
    return listener->listen(QHostAddress::LocalHost, port);
}

quint16 DemoServer::port() const
{
    return listener->serverPort();
}

QString DemoServer::errorString() const
{
    return listener->errorString();
}

void DemoServer::onNewConnection()
{
    while (QTcpSocket* socket = listener->nextPendingConnection()) {
        auto* player = new PlayerConnection(socket, this);
        connect(player, &PlayerConnection::closed, this, &DemoServer::onPlayerClosed);
        connections << player;
    }
}

void DemoServer::onPlayerClosed(PlayerConnection* player)
{
    connections.removeAll(player);
    // The player may be closing from inside one of its own handlers (a write
    // that failed), so it is deleted from the event loop, never here.
    player->deleteLater();
    if (player->isPlaying()) {
        broadcast(QByteArray(Ansi::kBrightBlack) + "Disconnection: " + player->name().toUtf8() +
                  " has left the realm." + Ansi::kReset);
        roomOccupantsChanged(player->roomId());
    }
    emit connectionClosed();
}

QList<PlayerConnection*> DemoServer::livePlayers() const
{
    // A copy: delivering a line can close a connection, which edits the list.
    QList<PlayerConnection*> players;
    for (const QPointer<PlayerConnection>& connection : connections) {
        if (connection && connection->isPlaying())
            players << connection.data();
    }
    return players;
}

PlayerConnection* DemoServer::findPlayer(const QString& name) const
{
    for (PlayerConnection* player : livePlayers()) {
        if (player->name().compare(name, Qt::CaseInsensitive) == 0)
            return player;
    }
    return nullptr;
}

QStringList DemoServer::playersInRoom(const QString& roomId, const PlayerConnection* except) const
{
    QStringList names;
    for (PlayerConnection* player : livePlayers()) {
        if (player != except && player->roomId() == roomId)
            names << player->name();
    }
    return names;
}

QStringList DemoServer::playerNames() const
{
    QStringList names;
    for (PlayerConnection* player : livePlayers())
        names << player->name();
    return names;
}

int DemoServer::connectionCount() const
{
    return int(connections.size());
}

void DemoServer::broadcast(const QByteArray& line, const PlayerConnection* except)
{
    for (PlayerConnection* player : livePlayers()) {
        if (player != except)
            player->deliver(line);
    }
}

void DemoServer::tellRoom(const QString& roomId, const QByteArray& line, const PlayerConnection* except)
{
    for (PlayerConnection* player : livePlayers()) {
        if (player != except && player->roomId() == roomId)
            player->deliver(line);
    }
}

void DemoServer::roomOccupantsChanged(const QString& roomId)
{
    for (PlayerConnection* player : livePlayers()) {
        if (player->roomId() == roomId)
            player->refreshRoom();
    }
}
