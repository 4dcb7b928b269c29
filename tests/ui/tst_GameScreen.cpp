#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"

namespace {

QLineEdit* lineEdit(GameScreen& screen, const QString& placeholder = "Enter command...")
{
    for (QLineEdit* edit : screen.findChildren<QLineEdit*>()) {
        if (edit->placeholderText() == placeholder)
            return edit;
    }
    return nullptr;
}

QLabel* labelStartingWith(QWidget& root, const QString& prefix)
{
    for (QLabel* label : root.findChildren<QLabel*>()) {
        if (label->text().startsWith(prefix))
            return label;
    }
    return nullptr;
}

} // namespace

class tst_GameScreen : public QObject {
    Q_OBJECT

private slots:
    void init();
    void historyIsKeptPerCharacter();
    void msdpReachesBarsAndLabels();
    void keysOnTheShownScreen();
    void channelLinesArePlain_data();
    void channelLinesArePlain();

private:
    std::unique_ptr<QTcpServer> server;
    Character hero;
};

void tst_GameScreen::init()
{
    // A fresh server per test: each screen connects as it is built.
    server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost));
    hero = Character{"Hero", "", "127.0.0.1", server->serverPort(), ""};
}

void tst_GameScreen::historyIsKeptPerCharacter()
{
    GameSession session(hero, nullptr);
    {
        GameScreen screen(&session, nullptr);
        QLineEdit* input = lineEdit(screen);
        QTest::keyClick(input, Qt::Key_Up); // empty history: nothing happens
        QCOMPARE(input->text(), QString());
        for (const char* command : {"look", "look", "north", ""}) {
            input->setText(command);
            QTest::keyClick(input, Qt::Key_Return);
        }
        QCOMPARE(screen.getHistory(), QStringList({"north", "look"}));

        // Up stops at the oldest; Down comes back to the draft being typed.
        input->setText("draft");
        QStringList seen;
        for (Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down}) {
            QTest::keyClick(input, key);
            seen << input->text();
        }
        QCOMPARE(seen, QStringList({"north", "look", "look", "north", "draft", "draft"}));

        for (int i = 0; i < 201; ++i) {
            input->setText(QString("cmd%1").arg(i));
            QTest::keyClick(input, Qt::Key_Return);
        }
    }
    const QStringList history = GameScreen(&session, nullptr).getHistory();
    QCOMPARE(history.size(), 200);
    QCOMPARE(history.first(), "cmd200");
    QCOMPARE(history.last(), "cmd1");
}

void tst_GameScreen::msdpReachesBarsAndLabels()
{
    Storage::instance()->setEnabledFeatures(hero, {0, 1, 2});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    // Each update in turn, and the start of a label it must leave on screen.
    const struct {
        const char *name, *value, *shows;
    } steps[] = {
        // A vital is measured against 999999 until a usable maximum arrives.
        {"CHARACTER_POWERLEVEL", "499999", "PL: 499999/999999"},
        {"CHARACTER_POWERLEVEL_MAX", "1000000", "PL: 499999/1000000"},
        {"CHARACTER_POWERLEVEL_MAX", "abc", "PL: 499999/999999"},
        {"CHARACTER_KI_MAX", "0", nullptr},
        {"CHARACTER_KI", "80", "Ki: 80/999999"},
        {"CHARACTER_FATIGUE_MAX", "3", nullptr},
        {"CHARACTER_FATIGUE", "1", "1/3"},
        {"CHARACTER_RACE", "Saiyan", nullptr},
        {"CHARACTER_CLASS", "Warrior", "Saiyan/Warrior"},
        {"CHARACTER_RESISTANCE_MAGICAL", "7", "Phys: , Mag: 7"},
        {"ROOM_EXITS", "", "Exits: none"},
        {"OPPONENT_HEALTH_MAX", "200", nullptr},
        {"OPPONENT_HEALTH", "50", nullptr},
        {"OPPONENT_NAME", "Raditz", "HP: 50/200"},
        {"OPPONENT_HEALTH_MAX", "0", "HP: 50/200"}, // a maximum of 0 leaves the panel as it was
    };
    for (const auto& step : steps) {
        session.setMsdpVariable(step.name, step.value);
        if (step.shows)
            QVERIFY2(labelStartingWith(screen, step.shows), step.shows);
    }
}

void tst_GameScreen::keysOnTheShownScreen()
{
    Scripts scripts;
    scripts.keyBindings = {{"north", "F2", "north;look", "", true}, {"broken", "", "x", "", true}};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    TerminalWidget* terminal = screen.getTerminal();
    terminal->appendAnsiText("a dragon appears\nthe dragon roars\n");

    QLineEdit* find = lineEdit(screen, "Search output...");
    QVERIFY(find && !find->isVisible());
    QTest::keyClick(&screen, Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(find, "dragon");
    QCOMPARE(terminal->extraSelections().size(), 2);
    QTest::keyClick(&screen, Qt::Key_Escape);
    QVERIFY(!find->isVisible());
    QVERIFY(terminal->extraSelections().isEmpty());

    // Printable keys typed into the output land in the command line.
    terminal->setFocus();
    QTest::keyClicks(terminal, "kill");
    QCOMPARE(lineEdit(screen)->text(), "kill");

    QTRY_VERIFY_WITH_TIMEOUT(server->hasPendingConnections(), 5000);
    std::unique_ptr<QTcpSocket> peer(server->nextPendingConnection());
    QTRY_VERIFY(session.isConnected());
    QTest::keyClick(lineEdit(screen), Qt::Key_F2);
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += peer->readAll()).contains("look\r\n"), 5000);
    QVERIFY(received.endsWith("north\r\nlook\r\n"));
}

void tst_GameScreen::channelLinesArePlain_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("shown");
    QTest::newRow("no codes") << " plain words "
                              << "plain words";
    QTest::newRow("colours") << "\x1b[1;35m[OOC]\x1b[0m Kyren: hi\x1b[m"
                             << "[OOC] Kyren: hi";
    QTest::newRow("colour at the end") << "hi \x1b[32m"
                                       << "hi";
    QTest::newRow("other sequence") << "a\x1b[31mb\x1b[2Kc"
                                    << "abc";
    QTest::newRow("lone escape kept") << "x\x1bqy\x1b[0m"
                                      << "x\x1bqy";
    QTest::newRow("unfinished kept") << "a\x1b[1mb\x1b[31"
                                     << "ab\x1b[31";
}

void tst_GameScreen::channelLinesArePlain()
{
    QFETCH(QString, line);
    QFETCH(QString, shown);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    emit session.channelMessage("OOC", line);
    QListWidget* ooc = nullptr;
    for (QListWidget* list : screen.findChildren<QListWidget*>()) {
        if (list->accessibleName() == "OOC channel")
            ooc = list;
    }
    QVERIFY(ooc);
    QCOMPARE(ooc->count(), 1);
    QCOMPARE(ooc->item(0)->text(), shown);
}

OLVEX_TEST_MAIN(tst_GameScreen, QApplication)
#include "tst_GameScreen.moc"
