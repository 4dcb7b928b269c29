#include "tools/olvex-demo-server/BenchLink.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

BenchLink::BenchLink(QObject* parent)
    : QObject(parent)
    , listener(new QTcpServer(this))
    , quietTimer(new QTimer(this))
    , timeoutTimer(new QTimer(this))
{
    quietTimer->setSingleShot(true);
    quietTimer->setInterval(kQuietStartMs);
    timeoutTimer->setSingleShot(true);
    timeoutTimer->setInterval(kDefaultTimeoutMs);
    connect(listener, &QTcpServer::newConnection, this, &BenchLink::onNewConnection);
    connect(quietTimer, &QTimer::timeout, this, &BenchLink::becomeReady);
    connect(timeoutTimer, &QTimer::timeout, this, &BenchLink::onTimeout);
}

bool BenchLink::listen(quint16 port)
{
    if (!listener->listen(QHostAddress::LocalHost, port))
        return false;
    timeoutTimer->start();
    return true;
}

quint16 BenchLink::port() const
{
    return listener->serverPort();
}

QString BenchLink::errorString() const
{
    return listener->errorString();
}

QTcpSocket* BenchLink::socket() const
{
    return client;
}

void BenchLink::setTimeoutMs(int ms)
{
    timeoutTimer->setInterval(ms);
    if (timeoutTimer->isActive())
        timeoutTimer->start();
}

void BenchLink::restartTimeout()
{
    timeoutTimer->start();
}

void BenchLink::finish()
{
    done = true;
    quietTimer->stop();
    timeoutTimer->stop();
}

void BenchLink::onNewConnection()
{
    while (QTcpSocket* socket = listener->nextPendingConnection()) {
        if (accepted || done) {
            // One client per run: a second one would spoil the measurement.
            socket->abort();
            socket->deleteLater();
            continue;
        }
        client = socket;
        accepted = true;
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, &BenchLink::onReadyRead);
        connect(socket, &QTcpSocket::disconnected, this, &BenchLink::onDisconnected);
        quietTimer->start();
        if (socket->bytesAvailable() > 0)
            onReadyRead();
    }
}

void BenchLink::onReadyRead()
{
    if (!client)
        return;
    const QStringList lines = input.feed(client->readAll());
    if (!isReady) {
        // What a client sends before the run starts (telnet negotiation, a
        // stray line) is not part of the conversation being measured.
        becomeReady();
        return;
    }
    for (const QString& line : lines) {
        if (done)
            return;
        emit lineReceived(line);
    }
}

void BenchLink::becomeReady()
{
    if (isReady || done || !client)
        return;
    isReady = true;
    quietTimer->stop();
    emit ready();
}

void BenchLink::onDisconnected()
{
    if (client)
        client->deleteLater();
    client.clear();
    if (!done)
        emit failed(QStringLiteral("the client disconnected before the run was complete"));
}

void BenchLink::onTimeout()
{
    if (done)
        return;
    emit failed(client ? QStringLiteral("timed out after %1 s waiting for the client's answer")
                             .arg(timeoutTimer->interval() / 1000)
                       : QStringLiteral("timed out after %1 s waiting for a client to connect")
                             .arg(timeoutTimer->interval() / 1000));
}
