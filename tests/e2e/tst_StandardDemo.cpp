#include <QtTest>

#include "net/MudConnection.h"
#include "support/TestEnvironment.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/PlayerConnection.h"

// The demo game and the client's standard telnet agree on everything they
// both speak: compression, terminal type, window size, prompts and MSDP.
class tst_StandardDemo : public QObject {
    Q_OBJECT

private slots:
    void playsCompressedWithPrompts();
};

void tst_StandardDemo::playsCompressedWithPrompts()
{
    DemoServer server(DemoServer::Timing{50, 5, 0, 0});
    QVERIFY(server.listen(0));
    MudConnection connection;
    connection.setStandardTelnet(true);
    connection.setWindowSize(120, 30);
    QString shown;
    QStringList prompts;
    QHash<QString, QString> msdp;
    connect(&connection, &MudConnection::textReceived, [&](const QString& text) { shown += text; });
    connect(&connection, &MudConnection::promptEnded, [&] { prompts << shown.section('\n', -1); });
    connect(&connection, &MudConnection::msdpVariable,
            [&](const QString& name, const QString& value) { msdp.insert(name, value); });
    connection.connectToServer("127.0.0.1", server.port());
    QTRY_VERIFY_WITH_TIMEOUT(shown.contains("By what name"), 10000);
    connection.sendCommand("Tester");
    QTRY_VERIFY_WITH_TIMEOUT(!prompts.isEmpty(), 10000);
    QVERIFY2(prompts.first().contains(QRegularExpression("^> .*PL \\d+/\\d+.* >$")),
             qPrintable(prompts.first()));
    QTRY_COMPARE(msdp.value("CHARACTER_NAME"), "Tester");

    PlayerConnection* player = server.findPlayer("Tester");
    QVERIFY(player);
    QVERIFY(player->telnetState().isCompressing());
    QCOMPARE(player->telnetState().terminalType(), "OLVEX");
    QCOMPARE(player->telnetState().columns(), 120);

    // The next output starts a line of its own after the prompt.
    connection.sendCommand("say Grüße →");
    QTRY_VERIFY_WITH_TIMEOUT(shown.contains("You say 'Grüße →'"), 10000);
    QVERIFY(shown.contains(" >\n\x1b[36mYou say"));
    for (QChar c : std::as_const(shown)) // no option byte reached the text
        QVERIFY2(c == '\n' || c == '\x1b' || c >= ' ', qPrintable(QString::number(c.unicode())));
}

OLVEX_TEST_MAIN(tst_StandardDemo, QCoreApplication)
#include "tst_StandardDemo.moc"
