#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextBlock>
#include <QtTest>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"
#include "ui/Theme.h"

namespace {

QLineEdit* lineEdit(GameScreen& screen, const QString& placeholder = "Enter command...")
{
    for (QLineEdit* edit : screen.findChildren<QLineEdit*>()) {
        if (edit->placeholderText() == placeholder)
            return edit;
    }
    return nullptr;
}

QPushButton* reconnectButton(GameScreen& screen)
{
    for (QPushButton* button : screen.findChildren<QPushButton*>()) {
        if (button->text() == "Reconnect")
            return button;
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
    void historyAndFontSizeSurvive();
    void msdpReachesBarsAndLabels();
    void keysOnTheShownScreen();
    void channelLinesArePlain_data();
    void channelLinesArePlain();
    void playerBindingBeatsScreenShortcut();
    void inputLineKeys();
    void focusCycleReachesEveryControl();
    void findBarReportsMisses();
    void reconnectKeepsScrollback();
    void linkProblemsAreReported();
    void standardTelnetScreen();
    void conveniencesSwitch();

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

void tst_GameScreen::historyAndFontSizeSurvive()
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
        screen.getTerminal()->setFontSize(14);
    }
    GameScreen again(&session, nullptr);
    QCOMPARE(again.getTerminal()->getFontSize(), 14);
    again.getTerminal()->setFontSize(Theme::kDefaultFontSize);
    const QStringList history = again.getHistory();
    QCOMPARE(history.size(), 200);
    QCOMPARE(history.first(), "cmd200");
    QCOMPARE(history.last(), "cmd1");
}

void tst_GameScreen::msdpReachesBarsAndLabels()
{
    Storage::instance()->setEnabledFeatures(hero, {0, 1, 2});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    // Each update in turn, and the start of a label it must leave on screen
    // (the values' rules are CharacterStatus's, tested there).
    const struct {
        const char *name, *value, *shows;
    } steps[] = {
        // A vital is measured against 999999 until a usable maximum arrives.
        {"CHARACTER_POWERLEVEL", "499999", "PL: 499999/999999"},
        {"CHARACTER_KI", "80", "Ki: 80/999999"},
        {"CHARACTER_FATIGUE_MAX", "3", nullptr},
        {"CHARACTER_FATIGUE", "1", "1/3"},
        {"CHARACTER_RACE", "Saiyan", nullptr},
        {"CHARACTER_CLASS", "Warrior", "Saiyan/Warrior"},
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

// Accepts the session's connection and collects what the client sends.
struct Peer {
    std::unique_ptr<QTcpSocket> socket;
    QByteArray received;
    bool waitFor(const QByteArray& tail)
    {
        return QTest::qWaitFor([&] { return (received += socket->readAll()).endsWith(tail); }, 5000);
    }
};

static Peer acceptPeer(QTcpServer& server, GameSession& session)
{
    Peer peer;
    if (QTest::qWaitFor([&] { return server.hasPendingConnections(); }, 5000) &&
        QTest::qWaitFor([&] { return session.isConnected(); }, 5000))
        peer.socket.reset(server.nextPendingConnection());
    if (peer.socket)
        peer.socket->setParent(nullptr); // owned here, whatever becomes of the server
    return peer;
}

void tst_GameScreen::playerBindingBeatsScreenShortcut()
{
    Scripts scripts;
    scripts.keyBindings = {{"clear", "Ctrl+K", "say mine", "", true}};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    screen.getTerminal()->appendAnsiText("kept\n");
    QTest::keyClick(lineEdit(screen), Qt::Key_K, Qt::ControlModifier);
    QVERIFY(peer.waitFor("say mine\r\n"));
    QVERIFY(screen.getTerminal()->toPlainText().contains("kept"));

    // Without the binding the screen's own Ctrl+K clears the output again.
    session.updateScripts(Scripts());
    QTest::keyClick(lineEdit(screen), Qt::Key_K, Qt::ControlModifier);
    QVERIFY(!screen.getTerminal()->toPlainText().contains("kept"));
}

void tst_GameScreen::inputLineKeys()
{
    GameSession session(hero, nullptr);
    auto screen = std::make_unique<GameScreen>(&session, nullptr);
    screen->resize(1000, 700);
    screen->show();
    QVERIFY(QTest::qWaitForWindowExposed(screen.get()));
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    QLineEdit* input = lineEdit(*screen);
    input->setFocus();

    // Tab on an empty line leaves for the output, where typing (a space
    // too) still reaches the line and Return sends it whole.
    QTest::keyClick(input, Qt::Key_Tab);
    QVERIFY(!input->hasFocus());
    QTest::keyClicks(QApplication::focusWidget(), "go on");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(peer.waitFor("go on\r\n"));

    // Tab keeps the half-typed line and the focus.
    QTest::keyClicks(input, "say hel");
    QTest::keyClick(input, Qt::Key_Tab);
    QTest::keyClicks(input, "lo there");
    QCOMPARE(input->text(), "say hello there");
    QVERIFY(input->hasFocus());

    // Pasted lines go out one by one, joined with what was typed around them.
    input->setCursorPosition(4);
    QGuiApplication::clipboard()->setText("north\r\nsouth\n\nlook\n");
    QTest::keyClick(input, Qt::Key_V, Qt::ControlModifier);
    QVERIFY(peer.waitFor("say north\r\nsouth\r\n\r\nlook\r\nhello there\r\n"));
    QCOMPARE(input->text(), QString());
    QCOMPARE(screen->getHistory().mid(0, 4), QStringList({"hello there", "look", "south", "say north"}));

    // PageUp scrolls back and the view stays there while the game goes on.
    TerminalWidget* terminal = screen->getTerminal();
    for (int i = 0; i < 300; ++i)
        terminal->appendAnsiText(QString("line %1\n").arg(i));
    QTest::qWait(50);
    QScrollBar* bar = terminal->verticalScrollBar();
    QCOMPARE(bar->value(), bar->maximum());
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(input, Qt::Key_PageUp);
    const int scrolledTo = bar->value();
    QVERIFY(scrolledTo < bar->maximum() - 10);
    for (int i = 0; i < 50; ++i)
        terminal->appendAnsiText(QString("more %1\n").arg(i));
    QTest::qWait(50);
    QCOMPARE(bar->value(), scrolledTo);
    // Ctrl+PageDown is the session tabs' key, not a scroll.
    QTest::keyClick(input, Qt::Key_PageDown, Qt::ControlModifier);
    QCOMPARE(bar->value(), scrolledTo);
}

void tst_GameScreen::focusCycleReachesEveryControl()
{
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.resize(1300, 760);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));

    QList<QWidget*> reachable;
    for (QWidget* widget : screen.findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus))
            reachable << widget;
    }
    // Walk from the (empty) input line with Tab, then back with Shift+Tab.
    QWidget* start = lineEdit(screen);
    start->setFocus();
    QList<QWidget*> forward{start};
    for (int i = 0; i < 100; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        if (QApplication::focusWidget() == start)
            break;
        forward << QApplication::focusWidget();
    }
    QCOMPARE(QApplication::focusWidget(), start);
    QList<QWidget*> backward{start};
    for (int i = 1; i < forward.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        backward << QApplication::focusWidget();
    }
    std::reverse(backward.begin() + 1, backward.end());
    QCOMPARE(backward, forward);
    for (QWidget* widget : reachable) {
        QVERIFY2(forward.contains(widget), widget->metaObject()->className());
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
        QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
    }
}

void tst_GameScreen::findBarReportsMisses()
{
    qApp->setStyleSheet(Theme::applicationStyleSheet());
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.resize(1300, 760);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    screen.getTerminal()->appendAnsiText("a dragon appears\n");
    QTest::keyClick(&screen, Qt::Key_F, Qt::ControlModifier);
    QLineEdit* find = lineEdit(screen, "Search output...");
    QWidget* bar = find->parentWidget();
    for (QPushButton* button : bar->findChildren<QPushButton*>())
        QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));

    QTest::keyClicks(find, "drag");
    QCOMPARE(screen.getTerminal()->extraSelections().size(), 1);
    const auto saysNotFound = [bar] {
        QLabel* label = labelStartingWith(*bar, "Not found");
        return label && label->isVisible();
    };
    QVERIFY(!saysNotFound());
    QTest::keyClicks(find, "x");
    QVERIFY(screen.getTerminal()->extraSelections().isEmpty());
    QVERIFY(saysNotFound());
    QTest::keyClick(find, Qt::Key_Backspace);
    QCOMPARE(screen.getTerminal()->extraSelections().size(), 1);
    QVERIFY(!saysNotFound());
    qApp->setStyleSheet(QString());
}

void tst_GameScreen::reconnectKeepsScrollback()
{
    Scripts scripts;
    Trigger alarm;
    alarm.pattern = "dragon";
    alarm.highlight = true;
    scripts.triggers = {alarm};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    QSignalSpy states(&screen, &GameScreen::connectionStateChanged);
    QSignalSpy output(&screen, &GameScreen::outputArrived);
    QPushButton* reconnect = reconnectButton(screen);
    QVERIFY(reconnect && !reconnect->isVisible());

    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    // An MSDP pair that fires the highlight is not shown, so it marks nothing.
    peer.socket->write("\xff\xfa\x45\x01ROOM\x02"
                       "a dragon\xff\xf0"
                       "a quiet road\r\na dragon lands\r\n");
    QTRY_COMPARE(output.size(), 2);
    QCOMPARE(output.at(0).at(0).toBool(), false);
    QCOMPARE(output.at(1).at(0).toBool(), true);

    // The server goes away: the player is told, is offered a way back, and takes it.
    peer.socket->close();
    QTRY_VERIFY(reconnect->isVisible());
    QVERIFY(screen.getTerminal()->toPlainText().contains(
        QString("[ERROR] 127.0.0.1:%1 - The remote host closed the connection").arg(hero.port)));
    const quint16 port = server->serverPort();
    server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost, port));
    QTest::keyClick(lineEdit(screen), Qt::Key_R, Qt::ControlModifier);
    Peer again = acceptPeer(*server, session);
    QVERIFY(again.socket);
    QTRY_VERIFY(!reconnect->isVisible());
    QTRY_VERIFY(states.size() >= 2 && states.last().at(0).toBool());
    QCOMPARE(states.at(states.size() - 2).at(0).toBool(), false);
    const QString shown = screen.getTerminal()->toPlainText();
    QVERIFY(shown.indexOf("a dragon lands") < shown.indexOf("[DISCONNECTED]"));
    QVERIFY(shown.indexOf("[DISCONNECTED]") < shown.lastIndexOf("[CONNECTED]"));

    // The Session menu's freeze shows the paused mark.
    QVERIFY(!labelStartingWith(screen, "⏸ PAUSED")->isVisible());

    // Disconnected, styled and with every button showing, the screen still
    // fits the room a 1366x768 display leaves under title, menu and tabs.
    qApp->setStyleSheet(Theme::applicationStyleSheet());
    again.socket->close();
    QTRY_VERIFY(reconnect->isVisible());
    QVERIFY(screen.minimumSizeHint().width() <= 1280);
    QVERIFY(screen.minimumSizeHint().height() <= 640);
    qApp->setStyleSheet(QString());
    screen.getTerminal()->setFrozen(true);
    QVERIFY(labelStartingWith(screen, "⏸ PAUSED")->isVisible());
}

void tst_GameScreen::linkProblemsAreReported()
{
    // Nothing listens on the port: the connect is refused.
    server.reset();
    Scripts scripts;
    Timer tick;
    tick.intervalMs = 20;
    tick.commands = "tick";
    scripts.timers = {tick};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.show();
    TerminalWidget* terminal = screen.getTerminal();
    const QString error = QString("[ERROR] 127.0.0.1:%1 - Connection refused").arg(hero.port);
    QTRY_VERIFY(terminal->toPlainText().contains(error));
    const QTextBlock errorLine = terminal->document()->find(error).block();
    QCOMPARE(errorLine.begin().fragment().charFormat().foreground().color(), QColor(Theme::kErrorColor));
    QPushButton* reconnect = reconnectButton(screen);
    QVERIFY(reconnect && reconnect->isVisible());

    // Every typed line is answered; the timer that keeps firing, once.
    QTest::qWait(200);
    for (const char* typed : {"north", "north"}) {
        QTest::keyClicks(lineEdit(screen), typed);
        QTest::keyClick(lineEdit(screen), Qt::Key_Return);
    }
    QTest::qWait(100);
    const QString shown = terminal->toPlainText();
    QCOMPARE(shown.count("[NOT SENT]"), 3);
    QCOMPARE(shown.count("\"tick\" was not sent"), 1);
    QCOMPARE(shown.count("\"north\" was not sent"), 2);
}

// With standard telnet: prompts complete their own line, the server learns
// the terminal's size as it changes, and a password stays hidden.
void tst_GameScreen::standardTelnetScreen()
{
    Storage::instance()->setEnabledFeatures(hero, {int(GameFeature::ClientConveniences)});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    screen.resize(1000, 700);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    session.setFeatureEnabled(GameFeature::StandardTelnet, true); // switched on with the screen open
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    TerminalWidget* terminal = screen.getTerminal();
    terminal->clearTerminal();

    peer.socket->write("You see a bi");
    QTRY_COMPARE(terminal->toPlainText(), "You see a bi");
    peer.socket->write("g dog.\r\nHP 10> \xff\xf9");
    QTRY_COMPARE(terminal->toPlainText(), "You see a big dog.\nHP 10> ");
    peer.socket->write("You rest.\r\n");
    QTRY_COMPARE(terminal->toPlainText(), "You see a big dog.\nHP 10> \nYou rest.\n");

    // NAWS: the size in characters, told again when the window changes.
    const auto toldSize = [&peer] {
        const qsizetype at = peer.received.lastIndexOf("\xff\xfa\x1f");
        if (at < 0 || peer.received.size() < at + 7)
            return QSize();
        const auto byte = [&](int i) {
            return int(quint8(peer.received.at(at + 3 + i)));
        };
        return QSize(byte(0) << 8 | byte(1), byte(2) << 8 | byte(3));
    };
    const auto toldSizeSoon = [&](auto fits) {
        return QTest::qWaitFor([&] { return fits((peer.received += peer.socket->readAll(), toldSize())); },
                               5000);
    };
    peer.socket->write("\xff\xfd\x1f");
    QVERIFY(toldSizeSoon([](QSize size) { return size.width() > 40 && size.height() > 10; }));
    const QSize before = toldSize();
    screen.resize(1250, 500);
    QVERIFY(toldSizeSoon(
        [before](QSize size) { return size.width() > before.width() && size.height() < before.height(); }));

    // Server echo: the typed password is masked, sent, and kept nowhere.
    QLineEdit* input = lineEdit(screen);
    peer.socket->write("Password: \xff\xfb\x01");
    QTRY_COMPARE(input->echoMode(), QLineEdit::Password);
    QTest::keyClicks(input, "hunter2");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(peer.waitFor("hunter2\r\n"));
    peer.socket->write("\r\nWelcome!\r\n\xff\xfc\x01");
    QTRY_COMPARE(input->echoMode(), QLineEdit::Normal);
    QVERIFY(!terminal->toPlainText().contains("hunter2"));
    QVERIFY(!screen.getHistory().contains("hunter2"));
    QFile settings(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                   "/.olvex/settings.json");
    QVERIFY(settings.open(QIODevice::ReadOnly));
    QVERIFY(!settings.readAll().contains("hunter2"));
}

void tst_GameScreen::conveniencesSwitch()
{
    for (const bool on : {false, true}) {
        Scripts scripts;
        Trigger echoed;
        echoed.pattern = "look";
        echoed.commands = "say fired";
        scripts.triggers = {echoed};
        Storage::instance()->setScripts(hero, scripts);
        Storage::instance()->setEnabledFeatures(hero, on ? QList<int>{12} : QList<int>{});
        GameSession session(hero, nullptr);
        GameScreen screen(&session, nullptr);
        Peer peer = acceptPeer(*server, session);
        QVERIFY(peer.socket);
        TerminalWidget* terminal = screen.getTerminal();
        terminal->clearTerminal();
        peer.socket->write("Gunther waves.\r\n");
        QTRY_VERIFY(terminal->toPlainText().contains("Gunther"));

        QLineEdit* input = lineEdit(screen);
        QTest::keyClicks(input, "say gu");
        QTest::keyClick(input, Qt::Key_Tab);
        QCOMPARE(input->text(), on ? "say Gunther" : "say gu");
        input->setText("look");
        QTest::keyClick(input, Qt::Key_Return);
        QVERIFY(peer.waitFor("look\r\n"));
        emit session.getScriptEngine()->luaError("'heal': attempt to call a nil value");
        emit session.getScriptEngine()->echoText("from Lua");

        const QString expected =
            on ? "Gunther waves.\nlook\n[Lua error] 'heal': attempt to call a nil value\nfrom Lua"
               : "Gunther waves.";
        QCOMPARE(terminal->toPlainText().trimmed(), expected);
        terminal->appendAnsiText("see https://example.org/\n");
        const QTextCursor link = terminal->document()->find("https");
        QCOMPARE(link.charFormat().isAnchor(), on);
        if (on) {
            // The echo has a colour of its own and the triggers never saw it.
            const QTextBlock echo = terminal->document()->findBlockByNumber(1);
            QCOMPARE(echo.begin().fragment().charFormat().foreground().color(), QColor(Theme::kEchoColor));
        }
        QTest::qWait(50);
        QVERIFY(!(peer.received + peer.socket->readAll()).contains("fired"));
        init(); // a fresh server for the second round
    }
}

OLVEX_TEST_MAIN(tst_GameScreen, QApplication)
#include "tst_GameScreen.moc"
