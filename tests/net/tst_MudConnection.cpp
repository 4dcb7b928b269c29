#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/MudConnection.h"
#include "support/TestEnvironment.h"

namespace {

const QByteArray kAnnouncement("\xFF\xFB\x18\xFF\xFB\x1F");

// A game server on the loopback interface that accepts one client and keeps
// every byte it receives.
struct Server {
    QTcpServer listener;
    QTcpSocket* peer = nullptr;
    QByteArray received;

    Server()
    {
        listener.listen(QHostAddress::LocalHost);
        QObject::connect(&listener, &QTcpServer::newConnection, [this] {
            peer = listener.nextPendingConnection();
            QObject::connect(peer, &QTcpSocket::readyRead, [this] { received += peer->readAll(); });
        });
    }
    quint16 port() const { return listener.serverPort(); }
};

} // namespace

class tst_MudConnection : public QObject {
    Q_OBJECT

private slots:
    void exchangesBytesWithTheServer();
    void keepsAliveUntilDisconnected();
    void connectingAgainMovesToTheNewServer();
    void refusedPortReportsTheSocketError();
    void standardTelnetNegotiatesDecodesAndFailsCleanly();
};

void tst_MudConnection::exchangesBytesWithTheServer()
{
    Server server;
    MudConnection connection;
    QSignalSpy text(&connection, &MudConnection::textReceived);
    QSignalSpy msdp(&connection, &MudConnection::msdpVariable);
    // Whatever a listener of connected() writes must precede the announcement.
    connect(&connection, &MudConnection::connected, [&] { connection.sendRaw("<up>"); });
    connection.connectToServer("127.0.0.1", server.port());
    QTRY_COMPARE(server.received, "<up>" + kAnnouncement);
    QVERIFY(connection.isConnected());

    server.received.clear();
    connection.sendCommand("look");
    connection.sendCommand("say héllo ☺");
    QTRY_COMPARE(server.received, QByteArray("look\r\nsay h\xC3\xA9llo \xE2\x98\xBA\r\n"));

    // Pairs: "=5=x" has no name; "A=B=C" splits at its first "=".
    server.peer->write(QByteArray("hi\xFF\xFF\xFF\xFA\x45\x01=5\x02x\x01") + "A=B\x02" + "C\x01HP\x02" +
                       "10\xFF\xF0\n");
    QTRY_COMPARE(text.size(), 4);
    QCOMPARE(text, QList<QVariantList>({{"h"}, {"i"}, {"ÿ"}, {"\n"}}));
    QCOMPARE(msdp, QList<QVariantList>({{"A", "B=C"}, {"HP", "10"}}));

    // A burst several read buffers long, and the server hangs up at once:
    // every character still arrives, in order, before disconnected().
    QByteArray burst;
    for (int i = 0; i < 40000; ++i)
        burst += QByteArray::number(i % 10);
    qsizetype arrived = 0;
    bool inOrder = true;
    connect(&connection, &MudConnection::textReceived, [&](const QString& character) {
        inOrder = inOrder && character.at(0) == QLatin1Char('0' + arrived % 10);
        ++arrived;
    });
    qsizetype arrivedAtDisconnect = -1;
    connect(&connection, &MudConnection::disconnected, [&] { arrivedAtDisconnect = arrived; });
    server.peer->write(burst.repeated(5));
    server.peer->disconnectFromHost();
    QTRY_COMPARE(arrivedAtDisconnect, burst.size() * 5);
    QVERIFY(inOrder);
}

void tst_MudConnection::keepsAliveUntilDisconnected()
{
    Server server;
    MudConnection connection;
    QSignalSpy disconnected(&connection, &MudConnection::disconnected);
    connection.connectToServer("127.0.0.1", server.port());
    QTRY_COMPARE(server.received, kAnnouncement);
    QElapsedTimer clock;
    clock.start();
    QTRY_COMPARE_WITH_TIMEOUT(server.received, kAnnouncement + "\xFF\xF1", 10000);
    QVERIFY2(clock.elapsed() >= 4500, qPrintable(QString::number(clock.elapsed())));

    connection.disconnectFromServer();
    QTRY_COMPARE(server.peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(disconnected.size(), 1);
    QTest::failOnWarning(QRegularExpression("."));
    QTest::qWait(5500);
    QCOMPARE(server.received, kAnnouncement + "\xFF\xF1");
}

void tst_MudConnection::connectingAgainMovesToTheNewServer()
{
    Server first;
    Server second;
    MudConnection connection;
    QStringList events;
    connect(&connection, &MudConnection::connected, [&] { events << "connected"; });
    connect(&connection, &MudConnection::disconnected, [&] { events << "disconnected"; });
    // Replaced while still connecting: only the second request may win.
    connection.connectToServer("127.0.0.1", second.port());
    connection.connectToServer("127.0.0.1", first.port());
    QTRY_COMPARE(first.received, kAnnouncement);
    QVERIFY(second.received.isEmpty());

    connection.connectToServer("127.0.0.1", second.port());
    QTRY_COMPARE(second.received, kAnnouncement);
    QTRY_COMPARE(first.peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(events, QStringList({"connected", "disconnected", "connected"}));
    connection.sendCommand("north");
    QTRY_COMPARE(second.received, kAnnouncement + "north\r\n");
    QCOMPARE(first.received, kAnnouncement);
}

void tst_MudConnection::refusedPortReportsTheSocketError()
{
    Server gone;
    const quint16 closedPort = gone.port();
    gone.listener.close();
    QTest::failOnWarning(QRegularExpression("."));
    MudConnection connection;
    QSignalSpy error(&connection, &MudConnection::error);
    connection.sendCommand("lost"); // no link yet: dropped quietly
    connection.connectToServer("127.0.0.1", closedPort);
    QTRY_COMPARE(error.size(), 1);
    QCOMPARE(error.at(0).at(0).toString(), "Connection refused"); // the socket's own words
    QVERIFY(!connection.isConnected());
}

void tst_MudConnection::standardTelnetNegotiatesDecodesAndFailsCleanly()
{
    Server server;
    MudConnection connection;
    connection.setStandardTelnet(true);
    connection.setWindowSize(100, 40);
    QString text;
    connect(&connection, &MudConnection::textReceived, [&](const QString& piece) { text += piece; });
    QStringList events;
    connect(&connection, &MudConnection::promptEnded, [&] { events << "prompt:" + text; });
    connect(&connection, &MudConnection::serverEchoChanged,
            [&](bool on) { events << QString("echo:%1").arg(on); });
    connect(&connection, &MudConnection::error, [&](const QString& message) { events << message.left(36); });
    connect(&connection, &MudConnection::disconnected, [&] { events << "disconnected"; });
    connection.connectToServer("127.0.0.1", server.port());
    QTRY_COMPARE(server.received, kAnnouncement);

    server.peer->write("\xFF\xFD\x1F\xFF\xFB\x01Gr\xC3\xBC\xC3\x9F"
                       "e \xFF\xF9");
    QTRY_COMPARE(events, QStringList({"echo:1", "prompt:Grüße "}));
    QTRY_COMPARE(server.received, kAnnouncement + QByteArray::fromHex("fffa1f00640028fff0"
                                                                      "fffd01"));
    connection.setWindowSize(120, 40);
    connection.setWindowSize(120, 40);
    QTRY_COMPARE(server.received.mid(18), QByteArray::fromHex("fffa1f00780028fff0"));

    // Compression agreed, then nonsense instead of a zlib stream.
    server.peer->write("\xFF\xFB\x56\xFF\xFA\x56\xFF\xF0\x78\x9C" + QByteArray(64, '\x07'));
    QTRY_COMPARE(events, QStringList({"echo:1", "prompt:Grüße ", "The server's compressed data is corr",
                                      "echo:0", "disconnected"}));
    QVERIFY(!connection.isConnected());
}

OLVEX_TEST_MAIN(tst_MudConnection, QCoreApplication)
#include "tst_MudConnection.moc"
