#include <QHostAddress>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <utility>

#include "support/TestEnvironment.h"
#include "tools/olvex-demo-server/AmbientChatter.h"
#include "tools/olvex-demo-server/BenchLink.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/FloodBench.h"
#include "tools/olvex-demo-server/FloodText.h"
#include "tools/olvex-demo-server/MsdpReporter.h"
#include "tools/olvex-demo-server/PingBench.h"
#include "tools/olvex-demo-server/TelnetInput.h"

namespace {

constexpr int kWaitMs = 5000;

QString stripAnsi(const QByteArray& line)
{
    static const QRegularExpression sgr(QStringLiteral("\x1b\\[[0-9;]*m"));
    return QString::fromLatin1(line).remove(sgr);
}

// A raw telnet client that reads the server the way a strict MSDP client
// would: it splits text into lines, collects every MSDP pair in order and
// notes anything that breaks the framing.
class TestClient final : public QObject {
public:
    explicit TestClient(quint16 port)
    {
        connect(&socket, &QTcpSocket::readyRead, this, [this] { onReadyRead(); });
        socket.connectToHost(QHostAddress::LocalHost, port);
        // The client announces its options first, as the Olvex client does.
        socket.write("\xff\xfb\x18\xff\xfb\x1f");
    }

    void send(const QByteArray& line) { socket.write(line + "\r\n"); }
    void abort() { socket.abort(); }

    // Waits for a line (colours removed) matching the pattern after the
    // previous match, and returns it; an empty string on timeout.
    QString waitForLine(const QString& pattern, int timeoutMs = kWaitMs)
    {
        const QRegularExpression re(pattern);
        QString found;
        const bool matched = QTest::qWaitFor(
            [&] {
                while (cursor < lines.size()) {
                    const QString line = lines.at(cursor++);
                    if (re.match(line).hasMatch()) {
                        found = line;
                        return true;
                    }
                }
                return false;
            },
            timeoutMs);
        return matched ? found : QString();
    }

    bool waitForMsdp(const QString& name, const QString& value, int timeoutMs = kWaitMs)
    {
        return QTest::qWaitFor([&] { return msdp.value(name) == value; }, timeoutMs);
    }

    QList<int> numbersOf(const QString& name) const
    {
        QList<int> numbers;
        for (const auto& [n, v] : updates) {
            if (n == name)
                numbers << v.toInt();
        }
        return numbers;
    }

    QString login(const QByteArray& name)
    {
        if (waitForLine(QStringLiteral("By what name")).isEmpty())
            return {};
        send(name);
        return waitForLine(QStringLiteral("^Welcome, "));
    }

    QTcpSocket socket;
    QByteArray raw;
    QStringList lines;
    QHash<QString, QString> msdp;
    QList<QPair<QString, QString>> updates;
    QStringList errors;
    int willMsdpCount = 0;

private:
    enum class State { Data, Iac, Option, Sub, SubIac };

    void onReadyRead()
    {
        const QByteArray bytes = socket.readAll();
        raw += bytes;
        for (char c : bytes) {
            const auto b = static_cast<unsigned char>(c);
            switch (state) {
            case State::Data:
                if (b == 255)
                    state = State::Iac;
                else if (c == '\n')
                    lines << stripAnsi(std::exchange(pending, {}));
                else
                    pending += c;
                break;
            case State::Iac:
                state = b == 250 ? State::Sub : b >= 251 && b <= 254 ? State::Option : State::Data;
                if (state == State::Data)
                    errors << QStringLiteral("unexpected IAC %1").arg(b);
                verb = b;
                sub.clear();
                break;
            case State::Option:
                willMsdpCount += verb == 251 && b == 69;
                state = State::Data;
                break;
            case State::Sub:
                if (b == 255)
                    state = State::SubIac;
                else
                    sub += c;
                break;
            case State::SubIac:
                if (b != 240)
                    errors << QStringLiteral("IAC %1 inside a sub-negotiation").arg(b);
                parseMsdp(sub);
                state = State::Data;
                break;
            }
        }
    }

    // Expects 69, then VAR name VAL value pairs with non-empty names and no
    // control bytes in names or values.
    void parseMsdp(const QByteArray& payload)
    {
        if (payload.size() < 2 || payload.at(0) != 69 || payload.at(1) != 1) {
            errors << QStringLiteral("bad MSDP start: %1").arg(QString::fromLatin1(payload.toHex()));
            return;
        }
        const QList<QByteArray> vars = payload.mid(2).split('\x01');
        for (const QByteArray& var : vars) {
            const int val = var.indexOf('\x02');
            const QByteArray name = var.left(val);
            const QByteArray value = var.mid(val + 1);
            const bool clean = std::none_of(var.begin(), var.end(),
                                            [](char ch) { return ch != '\x02' && ch >= 0 && ch < ' '; });
            if (val <= 0 || var.count('\x02') != 1 || !clean) {
                errors << QStringLiteral("bad MSDP pair: %1").arg(QString::fromLatin1(var.toHex()));
                continue;
            }
            msdp.insert(QString::fromUtf8(name), QString::fromUtf8(value));
            updates << qMakePair(QString::fromUtf8(name), QString::fromUtf8(value));
        }
    }

    State state = State::Data;
    unsigned char verb = 0;
    QByteArray pending;
    QByteArray sub;
    int cursor = 0;
};

} // namespace

class tst_DemoServer : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void loginReportsEveryVariable();
    void walkingUpdatesTheRoom();
    void fightRunsToItsEnd();
    void playersMeetAndChat();
    void floodSendsExactlyTheLines();
    void abruptDisconnectsAreSurvived();
    void ambientChatterCoversEveryChannel();
    void telnetInputYieldsCleanLines_data();
    void telnetInputYieldsCleanLines();
    void msdpEncodingKeepsFraming();
    void floodBenchTimesTheAck();
    void pingBenchMatchesAnswers();

private:
    DemoServer* server = nullptr;
};

void tst_DemoServer::init()
{
    // Fast rounds and ticks keep the test short; no background chatter, so
    // every line a test sees comes from what it did.
    server = new DemoServer(DemoServer::Timing{50, 5, 0, 0}, this);
    QVERIFY(server->listen(0));
}

void tst_DemoServer::cleanup()
{
    delete server;
    server = nullptr;
}

void tst_DemoServer::loginReportsEveryVariable()
{
    TestClient client(server->port());
    QCOMPARE(client.login("  tester  with extra words"),
             QStringLiteral("Welcome, Tester! Type 'help' for a list of commands."));
    QVERIFY(client.waitForLine(QStringLiteral("^> PL \\d+/\\d+ Ki \\d+/\\d+")).size() > 0);
    QCOMPARE(client.willMsdpCount, 1);
    QVERIFY(client.raw.startsWith("\x1b[30m\xff\xfb\x45\x1b[0m\n"));

    const QStringList names{"CHARACTER_NAME",
                            "CHARACTER_RACE",
                            "CHARACTER_CLASS",
                            "CHARACTER_LEVEL",
                            "CHARACTER_POWERLEVEL",
                            "CHARACTER_POWERLEVEL_MAX",
                            "CHARACTER_KI",
                            "CHARACTER_KI_MAX",
                            "CHARACTER_FATIGUE",
                            "CHARACTER_FATIGUE_MAX",
                            "CHARACTER_AFFECTS",
                            "CHARACTER_RESISTANCE_PHYSICAL",
                            "CHARACTER_RESISTANCE_MAGICAL",
                            "CHARACTER_MAGICPOWER",
                            "COMBO",
                            "OPPONENT_NAME",
                            "OPPONENT_HEALTH",
                            "OPPONENT_HEALTH_MAX",
                            "ROOM_NAME",
                            "ROOM_EXITS",
                            "ROOM_CHARACTERS"};
    for (const QString& name : names)
        QVERIFY2(!client.msdp.value(name).isEmpty(), qPrintable(name)); // empty values are lost
    QCOMPARE(client.msdp.value("CHARACTER_NAME"), QStringLiteral("Tester"));
    QCOMPARE(client.msdp.value("OPPONENT_NAME"), QStringLiteral("None"));
    QCOMPARE(client.msdp.value("ROOM_EXITS"), QStringLiteral("north, east, west, up"));
    QCOMPARE(client.msdp.value("ROOM_CHARACTERS"), QStringLiteral("Guard, Zara, Kyren"));

    // Regeneration moves the vitals, always within their maximum.
    const int first = client.numbersOf("CHARACTER_POWERLEVEL").constFirst();
    QVERIFY(
        QTest::qWaitFor([&] { return client.msdp.value("CHARACTER_POWERLEVEL").toInt() > first; }, kWaitMs));
    for (int pl : client.numbersOf("CHARACTER_POWERLEVEL"))
        QVERIFY(pl <= client.msdp.value("CHARACTER_POWERLEVEL_MAX").toInt());
    QVERIFY2(client.errors.isEmpty(), qPrintable(client.errors.join('\n')));
}

void tst_DemoServer::walkingUpdatesTheRoom()
{
    TestClient client(server->port());
    QVERIFY(!client.login("Walker").isEmpty());
    QCOMPARE(client.waitForLine(QStringLiteral("^Exits: ")), QStringLiteral("Exits: north, east, west, up"));
    const QList<QStringList> steps{
        {"n", "Training Grounds", "north, south", "Sparbot, Tomo"},
        {"north", "Red Wastes", "south", "Bandit, Dustwolf"},
        {"s", "Training Grounds", "north, south", "Sparbot, Tomo"},
        {"south", "Sunstone Plaza", "north, east, west, up", "Guard, Zara, Kyren"},
        {"u", "Lookout Tower", "down", "Hawk"},
    };
    for (const QStringList& step : steps) {
        client.send(step[0].toUtf8());
        QVERIFY2(client.waitForMsdp("ROOM_NAME", step[1]), qPrintable(step[0]));
        QCOMPARE(client.msdp.value("ROOM_EXITS"), step[2]);
        QCOMPARE(client.msdp.value("ROOM_CHARACTERS"), step[3]);
        QCOMPARE(client.waitForLine(QStringLiteral("^Exits: ")), "Exits: " + step[2]);
    }
    client.send("west");
    QVERIFY(!client.waitForLine(QStringLiteral("^You cannot go that way")).isEmpty());
    QCOMPARE(client.msdp.value("ROOM_NAME"), QStringLiteral("Lookout Tower"));
    QVERIFY(client.errors.isEmpty());
}

void tst_DemoServer::fightRunsToItsEnd()
{
    TestClient client(server->port());
    QVERIFY(!client.login("Fighter").isEmpty());
    client.send("kill nobody");
    QVERIFY(!client.waitForLine(QStringLiteral("nobody called 'nobody' here")).isEmpty());
    client.send("kill zara");
    QVERIFY(!client.waitForLine(QStringLiteral("^Fighting other players")).isEmpty());

    // Flee ends a fight at once.
    client.send("kill guard");
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "Guard"));
    client.send("flee");
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "None"));

    client.send("n");
    QVERIFY(client.waitForMsdp("ROOM_NAME", "Training Grounds"));
    const qsizetype before = client.updates.size();
    client.send("kill spar");
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "Sparbot"));
    QCOMPARE(client.msdp.value("OPPONENT_HEALTH_MAX"), QStringLiteral("600"));
    QVERIFY(!client.waitForLine(QStringLiteral("^You hit the Sparbot")).isEmpty());
    QVERIFY(!client.waitForLine(QStringLiteral("^You gain \\d+ experience")).isEmpty());
    QVERIFY(client.waitForMsdp("OPPONENT_NAME", "None"));
    QCOMPARE(client.msdp.value("COMBO"), QStringLiteral("0"));

    // Health only falls, to zero; a hit streak shows up as a rising combo.
    QList<int> health;
    int bestCombo = 0;
    for (qsizetype i = before; i < client.updates.size(); ++i) {
        const auto& [name, value] = client.updates.at(i);
        if (name == "OPPONENT_HEALTH" && value != "0")
            health << value.toInt();
        if (name == "COMBO")
            bestCombo = std::max(bestCombo, value.toInt());
    }
    QVERIFY(health.size() >= 2);
    QVERIFY(std::is_sorted(health.rbegin(), health.rend()));
    QCOMPARE(health.constFirst(), 600);
    QVERIFY(bestCombo >= 1);
    QVERIFY(client.errors.isEmpty());
}

void tst_DemoServer::playersMeetAndChat()
{
    TestClient alice(server->port());
    QVERIFY(!alice.login("Alice").isEmpty());
    TestClient bob(server->port());
    QVERIFY(bob.waitForLine(QStringLiteral("By what name")).size() > 0);
    bob.send("alice");
    QVERIFY(!bob.waitForLine(QStringLiteral("already here")).isEmpty());
    bob.send("Bob");
    QVERIFY(!bob.waitForLine(QStringLiteral("^Welcome, Bob")).isEmpty());

    QVERIFY(alice.waitForMsdp("ROOM_CHARACTERS", "Guard, Zara, Kyren, Bob"));
    QCOMPARE(bob.msdp.value("ROOM_CHARACTERS"), QStringLiteral("Guard, Zara, Kyren, Alice"));

    alice.send("ooc hello everyone");
    QCOMPARE(bob.waitForLine(QStringLiteral("^\\[OOC\\]")), QStringLiteral("[OOC] Alice: hello everyone"));
    QCOMPARE(alice.waitForLine(QStringLiteral("^\\[OOC\\]")), QStringLiteral("[OOC] Alice: hello everyone"));
    bob.send("tell ALICE meet me up north");
    QCOMPARE(alice.waitForLine(QStringLiteral("tells you:")),
             QStringLiteral("Bob tells you: meet me up north"));
    alice.send("say on my way");
    QCOMPARE(bob.waitForLine(QStringLiteral("says")), QStringLiteral("Alice says 'on my way'"));

    alice.send("north");
    QCOMPARE(bob.waitForLine(QStringLiteral("leaves")), QStringLiteral("Alice leaves north."));
    QVERIFY(bob.waitForMsdp("ROOM_CHARACTERS", "Guard, Zara, Kyren"));
    QVERIFY(alice.errors.isEmpty() && bob.errors.isEmpty());
}

void tst_DemoServer::floodSendsExactlyTheLines()
{
    TestClient client(server->port());
    QVERIFY(!client.login("Flooder").isEmpty());
    QVERIFY(!client.waitForLine(QStringLiteral("^> PL")).isEmpty());
    const qsizetype start = client.lines.size();
    constexpr int kLines = 3000;
    client.send("flood " + QByteArray::number(kLines));
    QVERIFY(QTest::qWaitFor([&] { return client.lines.size() >= start + kLines + 1; }, kWaitMs));

    qint64 bytes = 0;
    for (int i = 0; i < kLines; ++i) {
        QCOMPARE(client.lines.at(start + i), stripAnsi(FloodText::line(i)));
        bytes += FloodText::line(i).size() + 1;
    }
    QVERIFY(client.lines.at(start + kLines).startsWith("> PL"));
    QVERIFY(bytes / kLines > 70 && bytes / kLines < 130); // "about 100 bytes a line"

    client.send("flood 0");
    QVERIFY(!client.waitForLine(QStringLiteral("^Usage: flood")).isEmpty());
}

void tst_DemoServer::abruptDisconnectsAreSurvived()
{
    QSignalSpy closed(server, &DemoServer::connectionClosed);
    {
        TestClient flooder(server->port());
        QVERIFY(!flooder.login("Flooder").isEmpty());
        flooder.send("flood 1000000");
        QVERIFY(QTest::qWaitFor([&] { return flooder.lines.size() > 1000; }, kWaitMs));
        flooder.abort();

        TestClient fighter(server->port());
        QVERIFY(!fighter.login("Fighter").isEmpty());
        fighter.send("kill guard");
        QVERIFY(fighter.waitForMsdp("OPPONENT_NAME", "Guard"));
        fighter.abort();

        TestClient shy(server->port());
        QVERIFY(!shy.waitForLine(QStringLiteral("By what name")).isEmpty());
        shy.abort();
    }
    QVERIFY(QTest::qWaitFor([&] { return closed.size() == 3; }, kWaitMs));

    TestClient survivor(server->port());
    QVERIFY(!survivor.login("Fighter").isEmpty()); // the name is free again
    survivor.send("who");
    QVERIFY(!survivor.waitForLine(QStringLiteral("^Players in the realm")).isEmpty());
    QCOMPARE(survivor.waitForLine(QStringLiteral("^  ")), QStringLiteral("  Fighter"));
    QCOMPARE(server->connectionCount(), 1);
    QCOMPARE(survivor.msdp.value("ROOM_CHARACTERS"), QStringLiteral("Guard, Zara, Kyren"));
}

void tst_DemoServer::ambientChatterCoversEveryChannel()
{
    // The client's channel table, in its order of precedence.
    const QList<QPair<QString, QRegularExpression>> channels{
        {"OOC", QRegularExpression("\\[OOC\\]", QRegularExpression::CaseInsensitiveOption)},
        {"Chat", QRegularExpression("\\[CHAT\\]", QRegularExpression::CaseInsensitiveOption)},
        {"Quest", QRegularExpression("\\[QUEST\\]|Quest:", QRegularExpression::CaseInsensitiveOption)},
        {"Announce", QRegularExpression("\\[ANNOUNCE\\]", QRegularExpression::CaseInsensitiveOption)},
        {"Broadcast",
         QRegularExpression("\\(broadcast\\)|\\[BROADCAST\\]", QRegularExpression::CaseInsensitiveOption)},
        {"Combat", QRegularExpression("You hit|You dodge|You are hit|strikes at you",
                                      QRegularExpression::CaseInsensitiveOption)},
        {"Emote", QRegularExpression("^\\s*\\*\\s+\\w+")},
        {"Tell", QRegularExpression("tells you:|You tell", QRegularExpression::CaseInsensitiveOption)},
        {"System", QRegularExpression("Connection|Disconnection|You have|You gain|level up",
                                      QRegularExpression::CaseInsensitiveOption)},
    };
    // Lines are matched with their escape sequences, as the client does.
    AmbientChatter chatter;
    QRandomGenerator random(7);
    QSet<QString> seen;
    for (int i = 0; i < AmbientChatter::kindCount() * 3; ++i) {
        const QString line = QString::fromLatin1(chatter.next(random));
        for (const auto& [name, pattern] : channels) {
            if (pattern.match(line).hasMatch()) {
                seen << name;
                break;
            }
        }
    }
    const QSet<QString> expected{"OOC", "Chat", "Quest", "Announce", "Broadcast", "Emote", "Tell", "System"};
    QCOMPARE(seen, expected);
}

void tst_DemoServer::telnetInputYieldsCleanLines_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("negotiation and keep-alive dropped")
        << QList<QByteArray>{"\xff\xfb\x18\xff\xfb\x1flo\xff\xf1ok\r\n"} << QStringList{"look"};
    QTest::newRow("sub-negotiation dropped")
        << QList<QByteArray>{QByteArrayLiteral("\xff\xfa\x18\x00xterm\xff\xf0say hi\n")}
        << QStringList{"say hi"};
    QTest::newRow("split anywhere") << QList<QByteArray>{"n\r", "\n\xff", "\xfd", "\x45s\r\n"}
                                    << QStringList{"n", "s"};
    QTest::newRow("escape sequences and controls removed")
        << QList<QByteArray>{"ooc \x1b[31mred\x07\tx\r\n"} << QStringList{"ooc [31mred x"};
    QTest::newRow("utf-8 kept") << QList<QByteArray>{"say gr\xc3\xbc\xc3\x9f\r\n"}
                                << QStringList{QString::fromUtf8("say gr\xc3\xbc\xc3\x9f")};
    QTest::newRow("empty line") << QList<QByteArray>{"\r\n"} << QStringList{""};
    QTest::newRow("endless line is cut")
        << QList<QByteArray>{QByteArray(TelnetInput::kMaxLineBytes + 10, 'a')}
        << QStringList{QString(TelnetInput::kMaxLineBytes, 'a')};
}

void tst_DemoServer::telnetInputYieldsCleanLines()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QStringList, expected);
    TelnetInput input;
    QStringList lines;
    for (const QByteArray& chunk : chunks)
        lines += input.feed(chunk);
    QCOMPARE(lines, expected);
}

void tst_DemoServer::msdpEncodingKeepsFraming()
{
    // Control bytes would end a name or value early; a character such as U+00FF
    // must go out as UTF-8, never as the byte 255 that would end the whole
    // sub-negotiation.
    QCOMPARE(MsdpReporter::encode({{"HEALTH", "100"},
                                   {"RO\x01OM", QString::fromUtf8("a\x02\x06\xc3\xbf"
                                                                  "b")}}),
             QByteArray("\xff\xfa\x45\x01HEALTH\x02"
                        "100\x01ROOM\x02"
                        "a\xc3\xbf"
                        "b\xff\xf0"));
    QVERIFY(MsdpReporter::encode({}).isEmpty());

    MsdpReporter reporter;
    QCOMPARE(reporter.changes({{"A", "1"}, {"B", "2"}}), MsdpReporter::encode({{"A", "1"}, {"B", "2"}}));
    QVERIFY(reporter.changes({{"A", "1"}, {"B", "2"}}).isEmpty());
    QCOMPARE(reporter.changes({{"A", "1"}, {"B", "3"}}), MsdpReporter::encode({{"B", "3"}}));
}

void tst_DemoServer::floodBenchTimesTheAck()
{
    BenchLink link;
    FloodBench bench(2000, &link);
    QSignalSpy finished(&bench, &FloodBench::finished);
    QVERIFY(link.listen(0));

    TestClient client(link.port());
    QVERIFY(!client.waitForLine(QStringLiteral("^BENCH-SENTINEL-END$")).isEmpty());
    QCOMPARE(client.lines.size(), 2001);
    TestClient latecomer(link.port()); // turned away, does not disturb the run
    client.send("BENCH-ACK");
    QVERIFY(finished.wait(kWaitMs));
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    const QString report = finished.at(0).at(1).toString();
    const QRegularExpressionMatch match =
        QRegularExpression("^flood lines=2000 bytes=(\\d+) ms=\\d+$").match(report);
    QVERIFY2(match.hasMatch(), qPrintable(report));
    QCOMPARE(match.captured(1).toLongLong(), qint64(client.raw.size()));

    // Nobody connects: the run gives up after its time limit.
    BenchLink idle;
    idle.setTimeoutMs(50);
    FloodBench unanswered(10, &idle);
    QSignalSpy gaveUp(&unanswered, &FloodBench::finished);
    QVERIFY(idle.listen(0));
    QVERIFY(gaveUp.wait(kWaitMs));
    QCOMPARE(gaveUp.at(0).at(0).toBool(), false);
}

void tst_DemoServer::pingBenchMatchesAnswers()
{
    QCOMPARE(PingBench::percentile({5, 1, 4, 2, 3}, 50), qint64(3));
    QCOMPARE(PingBench::percentile({5, 1, 4, 2, 3}, 99), qint64(5));

    BenchLink link;
    PingBench bench(5, &link);
    QSignalSpy finished(&bench, &PingBench::finished);
    QVERIFY(link.listen(0));
    TestClient client(link.port());
    for (int i = 1; i <= 5; ++i) {
        const QString ping = client.waitForLine(QStringLiteral("^BENCH-PING \\d+$"));
        QCOMPARE(ping, QStringLiteral("BENCH-PING %1").arg(i));
        client.send("BENCH-PONG 999"); // a wrong answer is not counted
        client.send("you see: BENCH-PONG " + QByteArray::number(i));
    }
    QVERIFY(finished.wait(kWaitMs));
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY(QRegularExpression("^ping count=5 p50_us=\\d+ p99_us=\\d+ max_us=\\d+$")
                .match(finished.at(0).at(1).toString())
                .hasMatch());

    // A client that goes away mid-run fails the run instead of hanging it.
    BenchLink second;
    PingBench quitter(5, &second);
    QSignalSpy failed(&quitter, &PingBench::finished);
    QVERIFY(second.listen(0));
    TestClient leaver(second.port());
    QVERIFY(!leaver.waitForLine(QStringLiteral("^BENCH-PING 1$")).isEmpty());
    leaver.abort();
    QVERIFY(failed.wait(kWaitMs));
    QCOMPARE(failed.at(0).at(0).toBool(), false);
}

OLVEX_TEST_MAIN(tst_DemoServer, QCoreApplication)
#include "tst_DemoServer.moc"
