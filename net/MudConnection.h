#pragma once

#include <QAbstractSocket>
#include <QByteArray>
#include <QObject>
#include <QString>

#include "net/StandardTelnetParser.h"
#include "net/TelnetParser.h"

class QTcpSocket;
class QTimer;

// The client's one TCP link to a game server. It announces the client's telnet
// options when the link comes up, keeps an idle link alive, sends typed lines
// and turns what the parser finds into signals. It never reconnects or retries
// on its own: what to do after a failure is the session's (and the player's)
// decision.
class MudConnection : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MudConnection)

public:
    // Servers drop links that stay silent; an IAC NOP this often keeps them up.
    static constexpr int kKeepaliveIntervalMs = 5000;

    explicit MudConnection(QObject* parent = nullptr);

    void connectToServer(const QString& host, int port);
    void disconnectFromServer();
    bool isConnected() const;

    void sendCommand(const QString& command);
    void sendRaw(const QByteArray& bytes);
    void sendDoOption(int option);
    void sendWillOption(int option);
    void sendMsdpVariable(const QString& name, const QString& value);

    void setTerminalType(const QString& type);

    // Off (the default): the client reads bytes as Latin-1 and answers only the
    // few options it announces itself. On: a standard telnet client (UTF-8,
    // option negotiation, prompts, server echo, compression). Takes effect for
    // the next bytes received; a link in progress keeps its negotiated state.
    void setStandardTelnet(bool on);
    bool isStandardTelnet() const { return standardTelnet; }
    // The terminal's size in characters, told to the server (NAWS) in standard
    // mode whenever it changes.
    void setWindowSize(int columns, int rows);

signals:
    void connected();
    void disconnected();
    void error(const QString& message);
    // Game text, one Latin-1 character per signal.
    void textReceived(const QString& text);
    void msdpVariable(const QString& name, const QString& value);
    void connectionLost();
    // Standard mode only: the server marked the end of a prompt (IAC GA or IAC EOR).
    void promptEnded();
    // Standard mode only: the server took over (true) or gave back (false) echoing.
    void serverEchoChanged(bool serverEchoes);

public slots:
    void onConnected();
    void onDisconnected();
    void onReadyRead();
    void onError(QAbstractSocket::SocketError socketError);
    void onKeepaliveTimer();
    void onAutoLoginTimer();
    void onReadTurn();

private:
    void setupConnections();
    void setupStandardParser();
    bool inflationPending() const;
    void parseBytes(const QByteArray& bytes);
    void readChunk();
    void scheduleReadTurn();
    void adaptReadChunk(qint64 elapsedNs, bool fullChunk);
    // Writes only on a live link; anything else is dropped without a word, so
    // nothing can queue up ahead of the option announcement of the next link.
    bool writeToSocket(const QByteArray& bytes);
    void writeAndFlush(const QByteArray& bytes);

    QTcpSocket* socket;
    TelnetParser parser;
    QTimer* keepaliveTimer;
    QTimer* autoLoginTimer;
    QString host;
    qint32 port = 0;
    // Auto-login is not performed; the delay is kept for when it is.
    qint32 autoLoginDelay = 0;
    // Stored only: the client offers TERMINAL-TYPE but never answers SEND.
    QString terminalType;
    bool standardTelnet = false;
    // Chosen per link: the standard parser starts afresh with every connect.
    StandardTelnetParser standardParser;
    // Input left over from one turn (bytes still in the socket, or compressed
    // input still to inflate) is handled in the next.
    QTimer* readTurnTimer;
    // Bytes parsed per turn, adapted to what they cost (see readChunk).
    qint64 readChunkBytes;
    bool serverEchoes = false;
};
