#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextBlock>
#include <QtTest>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"
#include "ui/CommandInput.h"
#include "ui/FindBar.h"
#include "ui/GameScreen.h"
#include "ui/Theme.h"

namespace {

// The first child of type W (a label or a button) whose text starts with `prefix`.
template <typename W> W* childStartingWith(QWidget& root, const QString& prefix)
{
    for (W* widget : root.findChildren<W*>()) {
        if (widget->text().startsWith(prefix))
            return widget;
    }
    return nullptr;
}

bool shown(GameScreen& screen, QSize size = {1000, 700})
{
    screen.resize(size);
    screen.show();
    return QTest::qWaitForWindowExposed(&screen);
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

Peer acceptPeer(QTcpServer& server, GameSession& session)
{
    Peer peer;
    if (QTest::qWaitFor([&] { return server.hasPendingConnections() && session.isConnected(); }, 5000))
        peer.socket.reset(server.nextPendingConnection());
    if (peer.socket)
        peer.socket->setParent(nullptr); // owned here, whatever becomes of the server
    return peer;
}

} // namespace

class tst_GameScreen : public QObject {
    Q_OBJECT

private slots:
    void init();
    void panelsShowWhatTheSessionReports();
    void keysOnTheShownScreen();
    void inputLineKeysAndHistory();
    void historyAndFontSizeSurvive();
    void focusCycleReachesEveryControl();
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

void tst_GameScreen::panelsShowWhatTheSessionReports()
{
    Storage::instance()->setEnabledFeatures(hero, {0, 1, 2});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    // Each update in turn, and the start of a label it must leave on screen.
    // The texts' rules are CharacterStatus's, and the Ki, stats and room
    // labels are followed end to end in tst_DemoPlay.
    const struct {
        const char *name, *value, *shows;
    } steps[] = {
        // A vital is measured against 999999 until a usable maximum arrives.
        {"CHARACTER_POWERLEVEL", "499999", "PL: 499999/999999"},
        {"CHARACTER_FATIGUE_MAX", "3", nullptr},
        {"CHARACTER_FATIGUE", "1", "1/3"},
        {"OPPONENT_HEALTH_MAX", "200", nullptr},
        {"OPPONENT_HEALTH", "50", nullptr},
        {"OPPONENT_NAME", "Raditz", "HP: 50/200"},
        {"OPPONENT_HEALTH_MAX", "0", "HP: 50/200"}, // a maximum of 0 leaves the panel as it was
    };
    for (const auto& step : steps) {
        session.setMsdpVariable(step.name, step.value);
        if (step.shows)
            QVERIFY2(childStartingWith<QLabel>(screen, step.shows), step.shows);
    }

    // A channel line loses its escape codes (AnsiParser::plainText, tested
    // there) and then its blanks: a list item cannot show colours.
    emit session.channelMessage("OOC", "\x1b[1;35m[OOC]\x1b[0m Kyren: hi \x1b[32m");
    QStringList ooc;
    for (QListWidget* list : screen.findChildren<QListWidget*>()) {
        for (int row = 0; list->accessibleName() == "OOC channel" && row < list->count(); ++row)
            ooc << list->item(row)->text();
    }
    QCOMPARE(ooc, QStringList{"[OOC] Kyren: hi"});
}

void tst_GameScreen::keysOnTheShownScreen()
{
    Scripts scripts;
    scripts.keyBindings = {{"north", "F2", "north;look", "", true},
                           {"broken", "", "x", "", true},
                           {"clear", "Ctrl+K", "say mine", "", true}};
    Storage::instance()->setScripts(hero, scripts);
    qApp->setStyleSheet(Theme::applicationStyleSheet());
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    QVERIFY(shown(screen, {1300, 760}));
    TerminalWidget* terminal = screen.getTerminal();
    terminal->appendAnsiText("a dragon appears\nthe dragon roars\n");

    // Ctrl+F opens the find bar, styled with room for every button; a miss
    // says so; Escape closes it and drops the highlights.
    QLineEdit* find = screen.findChild<FindBar*>()->findChild<QLineEdit*>();
    QVERIFY(!find->isVisible());
    QTest::keyClick(&screen, Qt::Key_F, Qt::ControlModifier);
    for (QPushButton* button : find->parentWidget()->findChildren<QPushButton*>())
        QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));
    qApp->setStyleSheet(QString());
    const auto saysNotFound = [find] {
        QLabel* label = childStartingWith<QLabel>(*find->parentWidget(), "Not found");
        return label && label->isVisible();
    };
    QTest::keyClicks(find, "drag");
    QCOMPARE(terminal->extraSelections().size(), 2);
    QTest::keyClicks(find, "x");
    QVERIFY(terminal->extraSelections().isEmpty() && saysNotFound());
    QTest::keyClick(find, Qt::Key_Backspace);
    QCOMPARE(terminal->extraSelections().size(), 2);
    QVERIFY(!saysNotFound());
    QTest::keyClick(&screen, Qt::Key_Escape);
    QVERIFY(!find->isVisible() && terminal->extraSelections().isEmpty());

    // Printable keys typed into the output land in the command line.
    terminal->setFocus();
    QTest::keyClicks(terminal, "kill");
    CommandInput* input = screen.findChild<CommandInput*>();
    QCOMPARE(input->text(), "kill");

    // The player's bindings, Ctrl+K too over the screen's own Ctrl+K, which
    // clears the output again once the binding is gone.
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    QTest::keyClick(input, Qt::Key_F2);
    QVERIFY(peer.waitFor("north\r\nlook\r\n"));
    QTest::keyClick(input, Qt::Key_K, Qt::ControlModifier);
    QVERIFY(peer.waitFor("say mine\r\n"));
    QVERIFY(terminal->toPlainText().contains("dragon"));
    session.updateScripts(Scripts());
    QTest::keyClick(input, Qt::Key_K, Qt::ControlModifier);
    QVERIFY(!terminal->toPlainText().contains("dragon"));
}

void tst_GameScreen::inputLineKeysAndHistory()
{
    GameSession session(hero, nullptr);
    auto screen = std::make_unique<GameScreen>(&session, nullptr);
    QVERIFY(shown(*screen));
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    CommandInput* input = screen->findChild<CommandInput*>();
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

    // Pasted lines go out one by one, joined with what was typed around them;
    // the history skips empty lines and repeats.
    input->setCursorPosition(4);
    QGuiApplication::clipboard()->setText("north\r\nsouth\nsouth\n\nlook\n");
    QTest::keyClick(input, Qt::Key_V, Qt::ControlModifier);
    QVERIFY(peer.waitFor("say north\r\nsouth\r\nsouth\r\n\r\nlook\r\nhello there\r\n"));
    QCOMPARE(input->text(), QString());
    QCOMPARE(screen->getHistory(), QStringList({"hello there", "look", "south", "say north", "go on"}));

    // Up stops at the oldest; Down comes back to the draft being typed.
    input->setText("draft");
    QStringList seen;
    for (int i = 0; i < 12; ++i) {
        QTest::keyClick(input, i < 6 ? Qt::Key_Up : Qt::Key_Down);
        seen << input->text();
    }
    QCOMPARE(seen.join(','), "hello there,look,south,say north,go on,go on,"
                             "say north,south,look,hello there,draft,draft");

    // PageUp on the line scrolls the output back (how the view then stays is
    // the terminal's own test); Ctrl+PageDown is the session tabs' key.
    for (int i = 0; i < 300; ++i)
        screen->getTerminal()->appendAnsiText(QString("line %1\n").arg(i));
    QScrollBar* bar = screen->getTerminal()->verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 0 && bar->value() == bar->maximum());
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(input, Qt::Key_PageUp);
    const int scrolledTo = bar->value();
    QVERIFY(scrolledTo < bar->maximum() - 10);
    QTest::keyClick(input, Qt::Key_PageDown, Qt::ControlModifier);
    QCOMPARE(bar->value(), scrolledTo);
}

// The newest 200 commands and the font size outlive the screen.
void tst_GameScreen::historyAndFontSizeSurvive()
{
    GameSession session(hero, nullptr);
    {
        GameScreen screen(&session, nullptr);
        CommandInput* input = screen.findChild<CommandInput*>();
        QTest::keyClick(input, Qt::Key_Up); // empty history: nothing happens
        QCOMPARE(input->text(), QString());
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

void tst_GameScreen::focusCycleReachesEveryControl()
{
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    QVERIFY(shown(screen, {1300, 760}));
    // Walk from the (empty) input line with Tab, then back with Shift+Tab.
    QWidget* start = screen.findChild<CommandInput*>();
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
    for (QWidget* widget : screen.findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus))
            QVERIFY2(forward.contains(widget), widget->metaObject()->className());
    }
    QLabel* paused = childStartingWith<QLabel>(screen, "⏸ PAUSED"); // shown while the output is frozen
    QVERIFY(!paused->isVisible());
    screen.getTerminal()->setFrozen(true);
    QVERIFY(paused->isVisible());
}

// Refused, then mended with Ctrl+R, then lost: each time the player is told,
// and the way back is offered only while it is needed.
void tst_GameScreen::linkProblemsAreReported()
{
    const quint16 port = server->serverPort();
    server.reset(); // nothing listens on the port yet
    Scripts scripts;
    scripts.timers = {{"tick", 20, "repeat", "tick", "", true}};
    scripts.triggers = {Trigger::fromJson({{"pattern", "dragon"}, {"highlight", true}})};
    Storage::instance()->setScripts(hero, scripts);
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    qApp->setStyleSheet(Theme::applicationStyleSheet());
    QVERIFY(shown(screen));
    TerminalWidget* terminal = screen.getTerminal();
    const QString refused = QString("[ERROR] 127.0.0.1:%1 - Connection refused").arg(port);
    QTRY_VERIFY(terminal->toPlainText().contains(refused));
    const QTextBlock errorLine = terminal->document()->find(refused).block();
    QCOMPARE(errorLine.begin().fragment().charFormat().foreground().color(), QColor(Theme::kErrorColor));
    QPushButton* reconnect = childStartingWith<QPushButton>(screen, "Reconnect");
    QVERIFY(reconnect->isVisible());
    // Styled and with every button showing, the screen still fits the room
    // a 1366x768 display leaves under title, menu and tabs.
    QVERIFY(screen.minimumSizeHint().width() <= 1280 && screen.minimumSizeHint().height() <= 640);
    qApp->setStyleSheet(QString());

    // Every typed line is answered; the timer that keeps firing, once.
    QTest::qWait(200);
    CommandInput* input = screen.findChild<CommandInput*>();
    for (int i = 0; i < 2; ++i) {
        QTest::keyClicks(input, "north");
        QTest::keyClick(input, Qt::Key_Return);
    }
    QTest::qWait(100);
    QCOMPARE(terminal->toPlainText().count("[NOT SENT]"), 3);
    QCOMPARE(terminal->toPlainText().count("\"tick\" was not sent"), 1);
    QCOMPARE(terminal->toPlainText().count("\"north\" was not sent"), 2);

    QSignalSpy states(&screen, &GameScreen::connectionStateChanged);
    QSignalSpy output(&screen, &GameScreen::outputArrived);
    server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost, port));
    QTest::keyClick(input, Qt::Key_R, Qt::ControlModifier);
    Peer peer = acceptPeer(*server, session);
    QVERIFY(peer.socket);
    QTRY_VERIFY(!reconnect->isVisible() && !states.isEmpty() && states.last().at(0).toBool());
    // An MSDP pair that fires the highlight is not shown, so it marks nothing.
    peer.socket->write("\xff\xfa\x45\x01ROOM\x02"
                       "a dragon\xff\xf0"
                       "a quiet road\r\na dragon lands\r\n");
    QTRY_COMPARE(output, QList<QVariantList>({{false}, {true}}));

    peer.socket->close();
    QTRY_VERIFY(reconnect->isVisible());
    QVERIFY(!states.last().at(0).toBool());
    const QString text = terminal->toPlainText();
    QVERIFY(text.contains(QString("[ERROR] 127.0.0.1:%1 - The remote host closed the connection").arg(port)));
    QVERIFY(text.indexOf(refused) < text.indexOf("[CONNECTED]")); // the scrollback stays
    QVERIFY(text.indexOf("a dragon lands") < text.indexOf("[DISCONNECTED]"));
}

// With standard telnet: prompts complete their own line, the server learns
// the terminal's size as it changes, and a password stays hidden.
void tst_GameScreen::standardTelnetScreen()
{
    Storage::instance()->setEnabledFeatures(hero, {int(GameFeature::ClientConveniences)});
    GameSession session(hero, nullptr);
    GameScreen screen(&session, nullptr);
    QVERIFY(shown(screen));
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
    CommandInput* input = screen.findChild<CommandInput*>();
    peer.socket->write("Password: \xff\xfb\x01");
    QTRY_COMPARE(input->echoMode(), QLineEdit::Password);
    QTest::keyClicks(input, "hunter2");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(peer.waitFor("hunter2\r\n"));
    peer.socket->write("\r\nWelcome!\r\n\xff\xfc\x01");
    QTRY_COMPARE(input->echoMode(), QLineEdit::Normal);
    QVERIFY(!terminal->toPlainText().contains("hunter2"));
    QVERIFY(!screen.getHistory().contains("hunter2"));
    QFile settings(Storage::instance()->getStoragePath());
    QVERIFY(settings.open(QIODevice::ReadOnly));
    QVERIFY(!settings.readAll().contains("hunter2"));
}

void tst_GameScreen::conveniencesSwitch()
{
    for (const bool on : {false, true}) {
        Scripts scripts;
        scripts.triggers = {{"", "look", "say fired", ""}};
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

        CommandInput* input = screen.findChild<CommandInput*>();
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
        QCOMPARE(terminal->document()->find("https").charFormat().isAnchor(), on);
        // The echo has a colour of its own and the triggers never saw it.
        const QTextBlock echo = terminal->document()->findBlockByNumber(1);
        if (on)
            QCOMPARE(echo.begin().fragment().charFormat().foreground().color(), QColor(Theme::kEchoColor));
        QTest::qWait(50);
        QVERIFY(!(peer.received + peer.socket->readAll()).contains("fired"));
        init(); // a fresh server for the second round
    }
}

OLVEX_TEST_MAIN(tst_GameScreen, QApplication)
#include "tst_GameScreen.moc"
