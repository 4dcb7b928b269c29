#include "net/MudConnection.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

const QString kDefaultTerminalType = QStringLiteral("Olvex-Desktop");
constexpr int kDefaultAutoLoginDelayMs = 1000;
const QByteArray kLineEnding = QByteArrayLiteral("\r\n");
const QByteArray kKeepalive = QByteArrayLiteral("\xFF\xF1"); // IAC NOP
// Text is parsed on the UI thread. Bounding what the socket may hold keeps a
// multi-megabyte burst from freezing the window: the rest waits in the kernel
// (and TCP slows the server) until a later turn.
constexpr qint64 kReadBufferBytes = 64 * 1024;
// What one turn may cost. Text that sets off a lot of work per byte (a
// stream of bare prompts, each a line of its own on screen) is read in
// smaller pieces, so the window stays responsive whatever the server sends.
constexpr qint64 kReadTurnTargetNs = 20 * 1000 * 1000;
constexpr qint64 kMinReadChunkBytes = 512;
// The first chunk of a link is small: nothing is known yet of what its text
// costs. Cheap text doubles it every turn up to the whole buffer.
constexpr qint64 kFirstReadChunkBytes = 8 * 1024;

} // namespace

MudConnection::MudConnection(QObject* parent)
    : QObject(parent)
    , socket(new QTcpSocket(this))
    , keepaliveTimer(new QTimer(this))
    , autoLoginTimer(new QTimer(this))
    , autoLoginDelay(kDefaultAutoLoginDelayMs)
    , terminalType(kDefaultTerminalType)
    , readTurnTimer(new QTimer(this))
    , readChunkBytes(kFirstReadChunkBytes)
{
    socket->setReadBufferSize(kReadBufferBytes);
    setupConnections();
    setupStandardParser();
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
    connect(readTurnTimer, &QTimer::timeout, this, &MudConnection::onReadTurn);
    readTurnTimer->setSingleShot(true);
    readTurnTimer->setInterval(0);

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

void MudConnection::setupStandardParser()
{
    standardParser.onText = [this](const QString& text) {
        emit textReceived(text);
    };
    standardParser.onMsdpVariable = parser.onMsdpVariable;
    standardParser.onPromptEnd = [this] {
        emit promptEnded();
    };
    standardParser.onServerEcho = [this](bool on) {
        serverEchoes = on;
        emit serverEchoChanged(on);
    };
    standardParser.onSend = [this](const QByteArray& bytes) {
        writeAndFlush(bytes);
    };
    standardParser.onError = [this](const QString& message) {
        readTurnTimer->stop();
        emit error(message);
        socket->abort();
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
    readTurnTimer->stop(); // the old link's output is of no interest any more
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
    if (on == standardTelnet)
        return;
    standardTelnet = on;
    if (on) {
        // Switched on during a link: start negotiating from a clean slate
        // (this offers TERMINAL-TYPE and NAWS again, which a server that has
        // them already ignores).
        if (isConnected())
            standardParser.reset();
    } else {
        readTurnTimer->stop();
        if (std::exchange(serverEchoes, false))
            emit serverEchoChanged(false);
    }
}

void MudConnection::setWindowSize(int columns, int rows)
{
    standardParser.setWindowSize(columns, rows);
}

void MudConnection::onConnected()
{
    // A command (or a trigger's answer) should leave at once, not wait for
    // the previous segment's acknowledgement.
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    readChunkBytes = kFirstReadChunkBytes;
    keepaliveTimer->start();
    emit connected();
    if (standardTelnet) {
        // The same two offers, but now answered: the terminal type when asked,
        // the window size as soon as the server agrees and on every change.
        standardParser.reset();
        return;
    }
    // No window size ever follows the NAWS offer; servers fall back to their
    // default width, which is what the terminal expects.
    sendWillOption(TelnetParser::kOptionTerminalType);
    sendWillOption(TelnetParser::kOptionNaws);
}

void MudConnection::onDisconnected()
{
    // The last words of a server that hangs up are still in the socket's
    // buffer (at most one buffer's worth): show them before the link ends.
    // (Behind inflated output that still waits they cannot be read.)
    if (!inflationPending())
        parseBytes(socket->readAll());
    keepaliveTimer->stop();
    autoLoginTimer->stop();
    readTurnTimer->stop();
    // Whoever masked the input for the server's echo must unmask it now.
    if (std::exchange(serverEchoes, false))
        emit serverEchoChanged(false);
    emit disconnected();
}

void MudConnection::onReadyRead()
{
    // A turn already scheduled reads what has come in; and while inflated
    // output is still waiting, new bytes stay in the socket (whose buffer is
    // bounded, so TCP slows the server down).
    if (readTurnTimer->isActive() || inflationPending())
        return;
    readChunk();
}

bool MudConnection::inflationPending() const
{
    return standardTelnet && standardParser.hasPendingInput();
}

void MudConnection::parseBytes(const QByteArray& bytes)
{
    if (standardTelnet)
        standardParser.parse(bytes);
    else
        parser.parse(bytes);
}

void MudConnection::readChunk()
{
    QElapsedTimer clock;
    clock.start();
    const QByteArray bytes = socket->read(readChunkBytes);
    const bool fullChunk = bytes.size() == readChunkBytes;
    parseBytes(bytes);
    adaptReadChunk(clock.nsecsElapsed(), fullChunk);
    scheduleReadTurn();
}

void MudConnection::adaptReadChunk(qint64 elapsedNs, bool fullChunk)
{
    // Aim the next chunk at the turn's target from what this one cost: shrink
    // at once when a chunk ran long, grow (at most twice as large) only after
    // a full chunk was cheap, so a short quiet read proves nothing.
    const qint64 fitting = readChunkBytes * kReadTurnTargetNs / qMax<qint64>(elapsedNs, 1);
    if (fitting < readChunkBytes)
        readChunkBytes = qMax(kMinReadChunkBytes, fitting);
    else if (fullChunk)
        readChunkBytes = std::min({kReadBufferBytes, fitting, readChunkBytes * 2});
}

void MudConnection::scheduleReadTurn()
{
    if (inflationPending() || socket->bytesAvailable() > 0)
        readTurnTimer->start();
}

void MudConnection::onReadTurn()
{
    if (inflationPending()) {
        standardParser.resume();
        scheduleReadTurn();
    } else if (socket->bytesAvailable() > 0) {
        readChunk();
    }
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
