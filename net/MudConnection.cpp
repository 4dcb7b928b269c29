#include "net/MudConnection.h"

#include <QTcpSocket>
#include <QTimer>

namespace {

const QString kDefaultTerminalType = QStringLiteral("Olvex-Desktop");
constexpr int kDefaultAutoLoginDelayMs = 1000;
const QByteArray kLineEnding = QByteArrayLiteral("\r\n");
const QByteArray kKeepalive = QByteArrayLiteral("\xFF\xF1"); // IAC NOP
// Everything the socket holds is parsed in one go, on the UI thread. Bounding
// what it may hold keeps a multi-megabyte burst from freezing the window: the
// rest waits in the kernel (and TCP slows the server) until the next turn.
constexpr qint64 kReadBufferBytes = 64 * 1024;

} // namespace

MudConnection::MudConnection(QObject* parent)
    : QObject(parent)
    , socket(new QTcpSocket(this))
    , keepaliveTimer(new QTimer(this))
    , autoLoginTimer(new QTimer(this))
    , autoLoginDelay(kDefaultAutoLoginDelayMs)
    , terminalType(kDefaultTerminalType)
{
    socket->setReadBufferSize(kReadBufferBytes);
    setupConnections();
}

void MudConnection::setupConnections()
{
    connect(socket, &QTcpSocket::connected, this, &MudConnection::onConnected);
    connect(socket, &QTcpSocket::disconnected, this, &MudConnection::onDisconnected);
    connect(socket, &QTcpSocket::readyRead, this, &MudConnection::onReadyRead);
    connect(socket, &QTcpSocket::errorOccurred, this, &MudConnection::onError);
    connect(keepaliveTimer, &QTimer::timeout, this, &MudConnection::onKeepaliveTimer);
    keepaliveTimer->setInterval(kKeepaliveIntervalMs);
    connect(autoLoginTimer, &QTimer::timeout, this, &MudConnection::onAutoLoginTimer);
    autoLoginTimer->setSingleShot(true);

    parser.onText = [this](const QString& character) {
        emit textReceived(character);
    };
    parser.onMsdpVariable = [this](const QString& pair) {
        // Split at the first "=" only: values may contain "=" themselves. A
        // pair without a name is of no use to anyone and is dropped.
        const qsizetype separator = pair.indexOf(QLatin1Char('='));
        if (separator <= 0)
            return;
        emit msdpVariable(pair.left(separator), pair.mid(separator + 1));
    };
    parser.onError = [this](const QString& message) {
        emit error(message);
    };
    parser.onWill = [this](int option) {
        if (option == TelnetParser::kOptionMsdp || option == TelnetParser::kOptionNaws)
            sendDoOption(option);
    };
    parser.onDo = [this](int option) {
        if (option == TelnetParser::kOptionTerminalType)
            sendWillOption(option);
    };
}

void MudConnection::connectToServer(const QString& host, int port)
{
    if (socket->state() != QAbstractSocket::UnconnectedState) {
        socket->disconnectFromHost();
        // A socket that is still connecting, or still has bytes to send, only
        // closes later, and until it has it refuses to start a new link. The
        // player asked to go elsewhere, so end the old one now.
        if (socket->state() != QAbstractSocket::UnconnectedState)
            socket->abort();
    }
    this->host = host;
    this->port = port;
    socket->connectToHost(host, quint16(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void MudConnection::disconnectFromServer()
{
    keepaliveTimer->stop();
    autoLoginTimer->stop();
    if (socket->state() == QAbstractSocket::ConnectedState)
        socket->disconnectFromHost();
}

bool MudConnection::isConnected() const
{
    return socket->state() == QAbstractSocket::ConnectedState;
}

void MudConnection::sendCommand(const QString& command)
{
    // UTF-8 never produces the byte 255, so no IAC doubling is needed.
    writeAndFlush((command + QString::fromLatin1(kLineEnding)).toUtf8());
}

void MudConnection::sendRaw(const QByteArray& bytes)
{
    writeToSocket(bytes);
}

void MudConnection::sendDoOption(int option)
{
    writeAndFlush(TelnetParser::buildDoCommand(option));
}

void MudConnection::sendWillOption(int option)
{
    writeAndFlush(TelnetParser::buildWillCommand(option));
}

void MudConnection::sendMsdpVariable(const QString& name, const QString& value)
{
    writeAndFlush(TelnetParser::buildSubnegotiation(TelnetParser::kOptionMsdp,
                                                    TelnetParser::buildMsdpVariable(name, value)));
}

void MudConnection::setTerminalType(const QString& type)
{
    terminalType = type;
}

void MudConnection::setStandardTelnet(bool on)
{
    standardTelnet = on;
}

void MudConnection::setWindowSize(int columns, int rows)
{
    windowColumns = columns;
    windowRows = rows;
}

void MudConnection::onConnected()
{
    // A command (or a trigger's answer) should leave at once, not wait for
    // the previous segment's acknowledgement.
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    keepaliveTimer->start();
    emit connected();
    // No window size ever follows the NAWS offer; servers fall back to their
    // default width, which is what the terminal expects.
    sendWillOption(TelnetParser::kOptionTerminalType);
    sendWillOption(TelnetParser::kOptionNaws);
}

void MudConnection::onDisconnected()
{
    keepaliveTimer->stop();
    autoLoginTimer->stop();
    emit disconnected();
}

void MudConnection::onReadyRead()
{
    parser.parse(socket->readAll());
}

void MudConnection::onError(QAbstractSocket::SocketError)
{
    emit error(socket->errorString());
}

void MudConnection::onKeepaliveTimer()
{
    writeAndFlush(kKeepalive);
}

void MudConnection::onAutoLoginTimer()
{
    // Auto-login is not performed: what it should send is not settled yet.
}

bool MudConnection::writeToSocket(const QByteArray& bytes)
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return false;
    socket->write(bytes);
    return true;
}

void MudConnection::writeAndFlush(const QByteArray& bytes)
{
    if (writeToSocket(bytes))
        socket->flush();
}
