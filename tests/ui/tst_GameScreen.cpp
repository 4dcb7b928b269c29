#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"
#include "ui/OpponentWidget.h"
#include "ui/VitalsWidget.h"

namespace {

QLineEdit* commandInput(GameScreen& screen)
{
    for (QLineEdit* edit : screen.findChildren<QLineEdit*>()) {
        if (edit->placeholderText() == "Enter command...")
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

void press(QWidget* target, Qt::Key key)
{
    QTest::keyClick(target, key);
}

} // namespace

class tst_GameScreen : public QObject {
    Q_OBJECT

private slots:
    void init();
    void historyIsKeptPerCharacter();
    void msdpReachesBarsAndLabels();
    void findBarAndTypingIntoTheTerminal();
    void keyBindingSendsItsCommands();

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
        QLineEdit* input = commandInput(screen);
        QVERIFY(input);

        press(input, Qt::Key_Up); // empty history: nothing happens
        QCOMPARE(input->text(), QString());

        for (const char* command : {"look", "look", "north", ""}) {
            input->setText(command);
            QTest::keyClick(input, Qt::Key_Return);
        }
        QCOMPARE(screen.getHistory(), QStringList({"north", "look"}));

        input->setText("draft");
        press(input, Qt::Key_Up);
        press(input, Qt::Key_Up);
        QCOMPARE(input->text(), "look");
        press(input, Qt::Key_Up); // already at the oldest
        QCOMPARE(input->text(), "look");
        press(input, Qt::Key_Down);
        QCOMPARE(input->text(), "north");
        press(input, Qt::Key_Down);
        QCOMPARE(input->text(), "draft");
        press(input, Qt::Key_Down);
        QCOMPARE(input->text(), "draft");

        for (int i = 0; i < 201; ++i) {
            input->setText(QString("cmd%1").arg(i));
            QTest::keyClick(input, Qt::Key_Return);
        }
        QCOMPARE(screen.getHistory().size(), 200);
        QCOMPARE(screen.getHistory().first(), "cmd200");
        QCOMPARE(screen.getHistory().last(), "cmd1");
    }
    GameScreen reopened(&session, nullptr);
    QCOMPARE(reopened.getHistory().size(), 200);
    QCOMPARE(reopened.getHistory().first(), "cmd200");
}

void tst_GameScreen::msdpReachesBarsAndLabels()
{
    Storage::instance()->setEnabledFeatures(hero, {0, 1, 2});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    auto* vitals = screen.findChild<VitalsWidget*>();
    auto* opponent = screen.findChild<OpponentWidget*>();
    QVERIFY(vitals && opponent);
    const QList<QProgressBar*> bars = vitals->findChildren<QProgressBar*>();
    QCOMPARE(bars.size(), 3);

    // Before any maximum arrives the bar is measured against 999999.
    session.setMsdpVariable("CHARACTER_POWERLEVEL", "499999");
    QCOMPARE(bars[0]->value(), 49);
    QVERIFY(labelStartingWith(*vitals, "PL: 499999/999999"));
    session.setMsdpVariable("CHARACTER_POWERLEVEL_MAX", "1000000");
    QCOMPARE(bars[0]->value(), 49);
    session.setMsdpVariable("CHARACTER_POWERLEVEL_MAX", "abc");
    QVERIFY(labelStartingWith(*vitals, "PL: 499999/999999"));
    session.setMsdpVariable("CHARACTER_KI_MAX", "0");
    session.setMsdpVariable("CHARACTER_KI", "80");
    QVERIFY(labelStartingWith(*vitals, "Ki: 80/999999"));
    session.setMsdpVariable("CHARACTER_FATIGUE_MAX", "3");
    session.setMsdpVariable("CHARACTER_FATIGUE", "1");
    QCOMPARE(bars[2]->value(), 33);
    QVERIFY(labelStartingWith(screen, "1/3"));

    session.setMsdpVariable("CHARACTER_RACE", "Saiyan");
    session.setMsdpVariable("CHARACTER_CLASS", "Warrior");
    QVERIFY(labelStartingWith(screen, "Saiyan/Warrior"));
    session.setMsdpVariable("CHARACTER_RESISTANCE_MAGICAL", "7");
    QVERIFY(labelStartingWith(screen, "Phys: , Mag: 7"));
    session.setMsdpVariable("ROOM_EXITS", "");
    QVERIFY(labelStartingWith(screen, "Exits: none"));
    session.setMsdpVariable("ROOM_NAME", "Kami's Lookout");
    QVERIFY(labelStartingWith(screen, "Room: Kami's Lookout"));

    // The combo counter shows only while a combo runs.
    QLabel* combo = labelStartingWith(screen, "COMBO:");
    QVERIFY(combo && combo->isHidden());
    session.setMsdpVariable("COMBO", "3");
    QVERIFY(!combo->isHidden());
    QCOMPARE(combo->text(), "COMBO: 3");
    session.setMsdpVariable("COMBO", "0");
    QVERIFY(combo->isHidden());

    // A fight shows the opponent; a maximum of 0 leaves the panel as it was.
    QVERIFY(opponent->isHidden());
    session.setMsdpVariable("OPPONENT_HEALTH_MAX", "200");
    session.setMsdpVariable("OPPONENT_HEALTH", "50");
    session.setMsdpVariable("OPPONENT_NAME", "Raditz");
    QVERIFY(!opponent->isHidden());
    QVERIFY(labelStartingWith(*opponent, "HP: 50/200"));
    session.setMsdpVariable("OPPONENT_HEALTH_MAX", "0");
    QVERIFY(labelStartingWith(*opponent, "HP: 50/200"));
    session.setMsdpVariable("OPPONENT_NAME", "None");
    QVERIFY(labelStartingWith(*opponent, "Opponent: None"));
}

void tst_GameScreen::findBarAndTypingIntoTheTerminal()
{
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    TerminalWidget* terminal = screen.getTerminal();
    terminal->appendAnsiText("a dragon appears\nthe dragon roars\n");

    QLineEdit* find = nullptr;
    for (QLineEdit* edit : screen.findChildren<QLineEdit*>()) {
        if (edit->placeholderText() == "Search output...")
            find = edit;
    }
    QVERIFY(find && !find->isVisible());
    QTest::keyClick(&screen, Qt::Key_F, Qt::ControlModifier);
    QVERIFY(find->isVisible());
    QTest::keyClicks(find, "dragon");
    QCOMPARE(terminal->extraSelections().size(), 2);
    QTest::keyClick(&screen, Qt::Key_Escape);
    QVERIFY(!find->isVisible());
    QVERIFY(terminal->extraSelections().isEmpty());

    // Printable keys typed into the output land in the command line.
    QLineEdit* input = commandInput(screen);
    terminal->setFocus();
    QTest::keyClicks(terminal, "kill");
    QCOMPARE(input->text(), "kill");
}

void tst_GameScreen::keyBindingSendsItsCommands()
{
    Scripts scripts;
    scripts.keyBindings = {{"north", "F2", "north;look", "", true}, {"broken", "", "x", "", true}};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    QTRY_VERIFY_WITH_TIMEOUT(server->hasPendingConnections(), 5000);
    QTcpSocket* peer = server->nextPendingConnection();
    QTRY_VERIFY(session.isConnected());

    QTest::keyClick(commandInput(screen), Qt::Key_F2);
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += peer->readAll()).contains("look\r\n"), 5000);
    QVERIFY(received.endsWith("north\r\nlook\r\n"));
    delete peer;
}

OLVEX_TEST_MAIN(tst_GameScreen, QApplication)
#include "tst_GameScreen.moc"
