#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <utility>

#include "support/TestEnvironment.h"
#include "tools/olvex-demo-server/BenchLink.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/FloodBench.h"
#include "tools/olvex-demo-server/FloodText.h"
#include "tools/olvex-demo-server/MsdpReporter.h"
#include "tools/olvex-demo-server/PingBench.h"

namespace {

constexpr int kWaitMs = 5000;

// A raw telnet client as strict as an MSDP client can be: it splits text into
// lines (colours removed), keeps every MSDP pair in order and notes anything
// that breaks framing: a stray IAC, a 255 inside a value, an empty name or a
// control byte.
class TestClient final : public QObject {
public:
    explicit TestClient(quint16 port)
    {
        connect(&socket, &QTcpSocket::readyRead, this, [this] { onReadyRead(); });
        socket.connectToHost(QHostAddress::LocalHost, port);
        socket.write("\xff\xfb\x18\xff\xfb\x1f"); // the options the Olvex client announces
    }
    void send(const QByteArray& line) { socket.write(line + "\r\n"); }

    // The next line after the previous match that matches pattern; empty on timeout.
    QString waitForLine(const QString& pattern)
    {
        const QRegularExpression re(pattern);
        const auto matched = [&] {
            while (cursor < lines.size()) {
                if (re.match(lines.at(cursor++)).hasMatch())
                    return true;
            }
            return false;
        };
        return QTest::qWaitFor(matched, kWaitMs) ? lines.at(cursor - 1) : QString();
    }
    bool waitForMsdp(const QString& name, const QString& value)
    {
        return QTest::qWaitFor([&] { return msdp.value(name) == value; }, kWaitMs);
    }
    QString login(const QByteArray& name)
    {
        if (waitForLine("By what name").isEmpty())
            return {};
        send(name);
        return waitForLine("^Welcome, ");
    }

    QTcpSocket socket;
    QByteArray raw;
    QStringList lines;
    QHash<QString, QString> msdp;
    QList<QPair<QString, QString>> updates;
    QStringList errors;

private:
    void onReadyRead()
    {
        const QByteArray bytes = socket.readAll();
        raw += bytes;
        unread += QString::fromLatin1(bytes);
        // One piece at a time, once it is complete: text, a line end, a
        // sub-negotiation, an option command or an IAC that starts none of these.
        static const QRegularExpression piece("\\A(?:([^\\xff\\n]+)|(\\n)|\\xff\\xfa([^\\xff]*)\\xff(.)|"
                                              "\\xff[\\xfb-\\xfe].|\\xff([^\\xfa-\\xfe]))",
                                              QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression sgr("\x1b\\[[0-9;]*m");
        for (QRegularExpressionMatch m; (m = piece.match(unread)).hasMatch();
             unread.remove(0, m.capturedLength())) {
            if (m.hasCaptured(1))
                pending += m.captured(1);
            else if (m.hasCaptured(2))
                lines << std::exchange(pending, {}).remove(sgr);
            else if (m.hasCaptured(3) && m.captured(4) == QChar(0xf0) && m.captured(3).startsWith('E'))
                parseMsdp(m.captured(3).toLatin1());
            else if (m.hasCaptured(3) || m.hasCaptured(5))
                errors << "stray IAC: " + m.captured(0).toLatin1().toHex();
        }
    }
    void parseMsdp(const QByteArray& payload)
    {
        if (!payload.startsWith("\x45\x01"))
            errors << "bad MSDP start: " + payload.toHex();
        for (const QByteArray& var : payload.mid(2).split('\x01')) {
            const int val = var.indexOf('\x02');
            const bool clean =
                std::none_of(var.begin(), var.end(), [](char ch) { return ch != 2 && ch >= 0 && ch < ' '; });
            if (val <= 0 || var.count('\x02') != 1 || !clean) {
                errors << "bad MSDP pair: " + var.toHex();
                continue;
            }
            const QString name = QString::fromUtf8(var.left(val));
            msdp.insert(name, QString::fromUtf8(var.mid(val + 1)));
            updates.append({name, msdp.value(name)});
        }
    }

    QString unread;
    QString pending;
    int cursor = 0;
};

} // namespace

class tst_DemoServer : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        // Fast ticks and rounds, and no chatter: every line comes from the test.
        server = std::make_unique<DemoServer>(DemoServer::Timing{50, 5, 0, 0});
        QVERIFY(server->listen(0));
    }
    void loginWalkAndFight();
    void floodVanishingAndOtherPlayers();
    void msdpEncodingKeepsFraming();
    void benchModesReportTheirFormat();

private:
    std::unique_ptr<DemoServer> server;
};

void tst_DemoServer::loginWalkAndFight()
{
    TestClient client(server->port());
    QCOMPARE(client.login("  tester  with extra words"),
             QStringLiteral("Welcome, Tester! Type 'help' for a list of commands."));
    QVERIFY(!client.waitForLine("^> PL \\d+/\\d+ Ki \\d+/\\d+").isEmpty());
    // An empty value would be lost by the client, so every variable has one.
    for (const QString& name :
         QString("CHARACTER_NAME CHARACTER_RACE CHARACTER_CLASS CHARACTER_LEVEL "
                 "CHARACTER_POWERLEVEL CHARACTER_POWERLEVEL_MAX CHARACTER_KI CHARACTER_KI_MAX "
                 "CHARACTER_FATIGUE CHARACTER_FATIGUE_MAX CHARACTER_AFFECTS COMBO ROOM_NAME "
                 "CHARACTER_RESISTANCE_PHYSICAL CHARACTER_RESISTANCE_MAGICAL OPPONENT_NAME "
                 "CHARACTER_MAGICPOWER OPPONENT_HEALTH OPPONENT_HEALTH_MAX")
             .split(' '))
        QVERIFY2(!client.msdp.value(name).isEmpty(), qPrintable(name));
    QCOMPARE(client.msdp.value("CHARACTER_NAME"), QStringLiteral("Tester"));
    // The offers are painted black: clients that show option bytes as text
    // show invisible characters. Nothing else has a visible option byte.
    QVERIFY(client.raw.startsWith("\x1b[30m\xff\xfb\x45"));
    QCOMPARE(client.raw.count("\xff\xfb") + client.raw.count("\xff\xfd"), 6);
    QVERIFY(client.raw.indexOf("\x1b[0m\n") > client.raw.lastIndexOf("\xff\xfd"));
    const int first = client.msdp.value("CHARACTER_POWERLEVEL").toInt(); // regeneration moves it
    QVERIFY(
        QTest::qWaitFor([&] { return client.msdp.value("CHARACTER_POWERLEVEL").toInt() > first; }, kWaitMs));

    // The plaza and the training grounds are walked through the client in
    // the play test; the tower only here.
    client.send("u");
    QVERIFY(client.waitForMsdp("ROOM_NAME", "Lookout Tower"));
    QCOMPARE(client.msdp.value("ROOM_EXITS"), "down");
    QCOMPARE(client.msdp.value("ROOM_CHARACTERS"), "Hawk");

    client.send("d");
    client.send("kill guard"); // flee ends a fight at once
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "Guard"));
    client.send("flee");
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "None"));
    client.send("n");
    QVERIFY(client.waitForMsdp("ROOM_NAME", "Training Grounds"));
    const qsizetype before = client.updates.size();
    client.send("kill spar");
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "Sparbot"));
    QVERIFY(!client.waitForLine("^You gain \\d+ experience").isEmpty());
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "None"));

    // Health only falls, from its maximum. (The combo's rise and reset are
    // seen through the client's panels in the play test.)
    QList<int> health;
    for (const auto& [name, value] : client.updates.mid(before)) {
        if (name == "OPPONENT_HEALTH" && value != "0")
            health << value.toInt();
    }
    QVERIFY(health.size() >= 2 && std::is_sorted(health.rbegin(), health.rend()));
    QCOMPARE(health.constFirst(), 600);
    QVERIFY2(client.errors.isEmpty(), qPrintable(client.errors.join('\n')));
}

void tst_DemoServer::floodVanishingAndOtherPlayers()
{
    TestClient client(server->port());
    QVERIFY(!client.login("Flooder").isEmpty());
    QVERIFY(!client.waitForLine("^> PL").isEmpty());
    const qsizetype start = client.lines.size();
    constexpr int kLines = 3000;
    client.send("flood " + QByteArray::number(kLines));
    QVERIFY(QTest::qWaitFor([&] { return client.lines.size() >= start + kLines + 1; }, kWaitMs));
    for (int i = 0; i < kLines; ++i)
        QCOMPARE(client.lines.at(start + i),
                 QString::fromLatin1(FloodText::line(i)).remove(QRegularExpression("\x1b\\[[0-9;]*m")));
    QVERIFY(client.lines.at(start + kLines).startsWith("> PL")); // then the prompt, nothing more

    // Clients that vanish mid-flood or mid-fight leave a working server behind.
    QSignalSpy closed(server.get(), &DemoServer::connectionClosed);
    client.send("flood 1000000");
    QVERIFY(QTest::qWaitFor([&] { return client.lines.size() > start + kLines + 1000; }, kWaitMs));
    client.socket.abort();
    TestClient fighter(server->port());
    QVERIFY(!fighter.login("Fighter").isEmpty());
    fighter.send("kill guard");
    QVERIFY(fighter.waitForMsdp("OPPONENT_NAME", "Guard"));
    fighter.socket.abort();
    QVERIFY(QTest::qWaitFor([&] { return closed.size() == 2; }, kWaitMs));

    TestClient alice(server->port());
    QVERIFY(!alice.login("Fighter").isEmpty()); // the name is free again
    QCOMPARE(server->connectionCount(), 1);
    QCOMPARE(alice.msdp.value("ROOM_CHARACTERS"), QStringLiteral("Guard, Zara, Kyren"));

    // Players see each other come, talk and go.
    TestClient bob(server->port());
    QVERIFY(!bob.login("Bob").isEmpty());
    QVERIFY(alice.waitForMsdp("ROOM_CHARACTERS", "Guard, Zara, Kyren, Bob"));
    alice.send("ooc hello everyone");
    QCOMPARE(bob.waitForLine("^\\[OOC\\]"), QStringLiteral("[OOC] Fighter: hello everyone"));
    alice.send("north");
    QVERIFY(bob.waitForMsdp("ROOM_CHARACTERS", "Guard, Zara, Kyren"));
    QVERIFY(alice.errors.isEmpty() && bob.errors.isEmpty());
}

void tst_DemoServer::msdpEncodingKeepsFraming()
{
    // Control bytes would end a name or value early, and U+00FF must go out as
    // UTF-8: a bare 255 would end the whole sub-negotiation.
    QCOMPARE(MsdpReporter::encode({{"HP", "100"}, {"RO\x01OM", QString::fromUtf8("a\x02\x06\xc3\xbf")}}),
             QByteArray("\xff\xfa\x45\x01HP\x02"
                        "100\x01ROOM\x02"
                        "a\xc3\xbf\xff\xf0"));
    MsdpReporter reporter; // only changed values go out again
    QCOMPARE(reporter.changes({{"A", "1"}, {"B", "2"}}), MsdpReporter::encode({{"A", "1"}, {"B", "2"}}));
    QCOMPARE(reporter.changes({{"A", "1"}, {"B", "3"}}), MsdpReporter::encode({{"B", "3"}}));
    QVERIFY(reporter.changes({{"A", "1"}, {"B", "3"}}).isEmpty());
}

void tst_DemoServer::benchModesReportTheirFormat()
{
    BenchLink floodLink;
    FloodBench flood(2000, &floodLink);
    QSignalSpy floodDone(&flood, &FloodBench::finished);
    QVERIFY(floodLink.listen(0));
    TestClient reader(floodLink.port());
    QVERIFY(!reader.waitForLine("^BENCH-SENTINEL-END$").isEmpty());
    QCOMPARE(reader.lines.size(), 2001);
    TestClient latecomer(floodLink.port()); // turned away, does not disturb the run
    reader.send("BENCH-ACK");
    QVERIFY(floodDone.wait(kWaitMs));
    const auto match =
        QRegularExpression("^flood lines=2000 bytes=(\\d+) ms=\\d+$").match(floodDone.at(0).at(1).toString());
    QVERIFY2(floodDone.at(0).at(0).toBool() && match.hasMatch(),
             qPrintable(floodDone.at(0).at(1).toString()));
    QCOMPARE(match.captured(1).toLongLong(), qint64(reader.raw.size()));

    QCOMPARE(PingBench::percentile({5, 1, 4, 2, 3}, 50), qint64(3));
    QCOMPARE(PingBench::percentile({5, 1, 4, 2, 3}, 99), qint64(5));
    BenchLink pingLink;
    PingBench ping(3, &pingLink);
    QSignalSpy pingDone(&ping, &PingBench::finished);
    QVERIFY(pingLink.listen(0));
    TestClient ponger(pingLink.port());
    for (int i = 1; i <= 3; ++i) {
        QCOMPARE(ponger.waitForLine("^BENCH-PING"), QStringLiteral("BENCH-PING %1").arg(i));
        ponger.send("BENCH-PONG 999"); // a wrong answer is not counted
        ponger.send("you see: BENCH-PONG " + QByteArray::number(i));
    }
    QVERIFY(pingDone.wait(kWaitMs));
    QVERIFY(pingDone.at(0).at(0).toBool());
    QVERIFY(pingDone.at(0).at(1).toString().contains(
        QRegularExpression("^ping count=3 p50_us=\\d+ p99_us=\\d+ max_us=\\d+$")));

    // With nobody to read it, a run gives up after its time limit instead of hanging.
    BenchLink idle;
    idle.setTimeoutMs(50);
    FloodBench unanswered(10, &idle);
    QSignalSpy gaveUp(&unanswered, &FloodBench::finished);
    QVERIFY(idle.listen(0));
    QVERIFY(gaveUp.wait(kWaitMs));
    QVERIFY(!gaveUp.at(0).at(0).toBool());
}

OLVEX_TEST_MAIN(tst_DemoServer, QCoreApplication)
#include "tst_DemoServer.moc"
