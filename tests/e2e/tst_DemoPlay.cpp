#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>
#include <QtTest>

#include <memory>

#include "app/MainWindow.h"
#include "net/MudConnection.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/PlayerConnection.h"
#include "ui/ConnectScreen.h"
#include "ui/GameScreen.h"
#include "ui/OpponentWidget.h"
#include "ui/VitalsWidget.h"

// The whole client, as a player meets it, against the demo game running in
// the same process: pick a character, log in, walk, fight, chat, leave.

namespace {

// Generous: a loaded two-core machine runs the server, the client and the
// sanitizers at once.
constexpr int kWaitMs = 10000;

// Fast enough to keep the run short, slow enough that a fight spans several
// MSDP updates. Background chatter stays on so unrelated lines keep arriving.
const DemoServer::Timing kPace{500, 250, 400, 1200};

QLabel* labelMatching(QWidget* root, const QString& pattern)
{
    const QRegularExpression re(pattern);
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (re.match(label->text()).hasMatch())
            return label;
    }
    return nullptr;
}

template <typename T> T* childNamed(QWidget* root, const QString& accessibleName)
{
    for (T* child : root->findChildren<T*>()) {
        if (child->accessibleName() == accessibleName)
            return child;
    }
    return nullptr;
}

// The texts in the list that has this accessible name.
QStringList itemsOf(QWidget* root, const QString& listName)
{
    QStringList texts;
    const auto* list = childNamed<QListWidget>(root, listName);
    for (int i = 0; list && i < list->count(); ++i)
        texts << list->item(i)->text();
    return texts;
}

} // namespace

class tst_DemoPlay : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void pickCharacterLogInAndWalk();
    void fightFeedsPanelsAndFiresTrigger();
    void closingTheTabLeavesTheGame();
    void standardTelnetPlaysCompressedWithPrompts();

private:
    QString terminalText() const { return screen->getTerminal()->toPlainText(); }
    void type(const QString& command);

    std::unique_ptr<DemoServer> server;
    std::unique_ptr<MainWindow> window;
    Character demo;
    QPointer<GameScreen> screen;
};

void tst_DemoPlay::initTestCase()
{
    server = std::make_unique<DemoServer>(kPace);
    QVERIFY2(server->listen(0), qPrintable(server->errorString()));
    demo = Character{"Demo", "", "127.0.0.1", server->port(), "Olvex demo"};

    // A second character stored first: the list preselects it, so connecting
    // the right one depends on the player's own pick.
    Storage* storage = Storage::instance();
    storage->setCharacters({Character{"Other", "", "mud.example", 4000, ""}, demo});
    storage->setEnabledFeatures(demo, {0, 1, 2, 6, 3, 4, 8, 9, 10});
    Scripts scripts;
    scripts.triggers = {{"rally", "You attack", "say fight on", ""}};
    scripts.aliases = {{"training", "tg", "north;say made it", ""}};
    storage->setScripts(demo, scripts);

    window = std::make_unique<MainWindow>();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
}

void tst_DemoPlay::cleanupTestCase()
{
    if (window) {
        window->close();
        QVERIFY(!window->isVisible());
    }
    window.reset();
    server.reset();
}

void tst_DemoPlay::type(const QString& command)
{
    auto* input = childNamed<QLineEdit>(screen, "Command input");
    QVERIFY(input);
    QTest::keyClicks(input, command);
    QTest::keyClick(input, Qt::Key_Return);
}

void tst_DemoPlay::pickCharacterLogInAndWalk()
{
    QTabWidget* tabs = window->getTabs();
    auto* connectScreen = qobject_cast<ConnectScreen*>(tabs->widget(0));
    QVERIFY(connectScreen);
    auto* tree = connectScreen->findChild<QTreeWidget*>();
    auto* connectButton = connectScreen->findChild<QPushButton*>("connectButton");
    QVERIFY(tree && connectButton);
    const QList<QTreeWidgetItem*> rows = tree->findItems("Demo", Qt::MatchExactly | Qt::MatchRecursive);
    QCOMPARE(rows.size(), 1);
    QVERIFY(tree->currentItem() != rows.first());
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(rows.first()).center());
    QCOMPARE(tree->currentItem(), rows.first());
    QTest::mouseClick(connectButton, Qt::LeftButton);

    QCOMPARE(tabs->count(), 2);
    QCOMPARE(tabs->tabText(1), "Demo @ 127.0.0.1");
    screen = window->getScreen(demo.key());
    QVERIFY(screen);
    QCOMPARE(tabs->currentWidget(), screen.data());

    QTRY_VERIFY_WITH_TIMEOUT(terminalText().contains("By what name do you wish to be known?"), kWaitMs);
    QVERIFY(terminalText().contains("[CONNECTED]"));
    QVERIFY(labelMatching(screen, "^Connected$"));
    type("Demo");
    QTRY_VERIFY_WITH_TIMEOUT(server->findPlayer("Demo"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(labelMatching(screen, "^Room: Sunstone Plaza$"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(labelMatching(screen, "^Exits: north, east, west, up$"), kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(itemsOf(screen, "Players and NPCs here"),
                              QStringList({"Guard", "Zara", "Kyren"}), kWaitMs);

    // The alias turns one typed word into a walk and a remark; the server
    // never sees the word itself.
    type("tg");
    QTRY_VERIFY_WITH_TIMEOUT(labelMatching(screen, "^Room: Training Grounds$"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(labelMatching(screen, "^Exits: north, south$"), kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(itemsOf(screen, "Players and NPCs here"), QStringList({"Sparbot", "Tomo"}),
                              kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(terminalText().contains("You say 'made it'"), kWaitMs);
    QCOMPARE(server->findPlayer("Demo")->roomId(), "grounds");
    QVERIFY(!terminalText().contains("Huh?"));
    QCOMPARE(screen->getHistory().first(), "tg");

    // Character panels fill from the same MSDP stream (how each value is
    // shown is the game screen's test).
    QTRY_VERIFY_WITH_TIMEOUT(childNamed<QLabel>(screen, "Name")->text() == "Demo", kWaitMs);
}

void tst_DemoPlay::fightFeedsPanelsAndFiresTrigger()
{
    QVERIFY(screen);
    GameSession* session = screen->getSession();
    auto* opponent = screen->findChild<OpponentWidget*>();
    QLabel* combo = labelMatching(screen, "^COMBO: ");
    QVERIFY(opponent && combo);

    // Vitals arrive with the login, before any fight.
    auto* vitals = screen->findChild<VitalsWidget*>();
    QVERIFY(vitals);
    QVERIFY(labelMatching(vitals, "^PL: \\d+/5000$"));
    for (QProgressBar* bar : vitals->findChildren<QProgressBar*>())
        QVERIFY(bar->value() > 0);
    QCOMPARE(itemsOf(screen, "Active affects"), QStringList({"sanctuary", "haste", "bless"}));
    QVERIFY(opponent->isHidden());
    QVERIFY(combo->isHidden());

    // A fight changes the panels many times a second; record what the player
    // could have seen after each update instead of hoping to poll it in time.
    QSet<QString> seen;
    QObject recording; // ends the recording when this function returns
    connect(session, &GameSession::msdpUpdated, &recording, [&] {
        if (!opponent->isHidden())
            seen << "panel|" + labelMatching(opponent, "^Opponent: ")->text();
        if (labelMatching(opponent, "^HP: \\d+/600$"))
            seen << "health";
        if (!combo->isHidden())
            seen << combo->text();
        seen << "affects|" + itemsOf(screen, "Active affects").join(' ');
    });

    type("kill spar");
    QTRY_VERIFY_WITH_TIMEOUT(seen.contains("panel|Opponent: Sparbot"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(seen.contains("health"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(seen.contains("affects|sanctuary haste bless battle_focus"), kWaitMs);
    // The trigger answered the attack line through the server.
    QTRY_VERIFY_WITH_TIMEOUT(terminalText().contains("You say 'fight on'"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(seen.contains("COMBO: 1"), kWaitMs);

    QTRY_VERIFY_WITH_TIMEOUT(terminalText().contains("The Sparbot collapses to the ground, defeated!"),
                             kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(labelMatching(opponent, "^Opponent: None$"), kWaitMs);
    QVERIFY(labelMatching(opponent, "^HP: 0/0$"));
    QTRY_VERIFY_WITH_TIMEOUT(combo->isHidden(), kWaitMs);
    QCOMPARE(combo->text(), "COMBO: 0");
    QCOMPARE(terminalText().count("You say 'fight on'"), 1);
    QVERIFY(!itemsOf(screen, "Combat channel").filter(QRegularExpression("^You hit the Sparbot")).isEmpty());

    // Chat lines land in their channel tabs as plain text.
    type("ooc hello");
    type("tell Zara ready?");
    QTRY_VERIFY_WITH_TIMEOUT(itemsOf(screen, "OOC channel").contains("[OOC] Demo: hello"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(itemsOf(screen, "Tell channel").contains("You tell Zara: ready?"), kWaitMs);
}

void tst_DemoPlay::closingTheTabLeavesTheGame()
{
    QVERIFY(screen);
    QTabWidget* tabs = window->getTabs();
    QPointer<GameSession> session(screen->getSession());
    QSignalSpy left(server.get(), &DemoServer::connectionClosed);
    QCOMPARE(server->connectionCount(), 1);

    auto* closeButton = qobject_cast<QAbstractButton*>(tabs->tabBar()->tabButton(1, QTabBar::RightSide));
    QVERIFY(closeButton);
    // Closing a connected session asks first.
    QTimer::singleShot(0, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->button(QMessageBox::Yes)->click();
    });
    closeButton->click();

    QCOMPARE(tabs->count(), 1);
    QVERIFY(!tabs->tabsClosable());
    QVERIFY(SessionManager::instance()->getAllSessions().isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!session, kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!screen, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(left.count(), 1, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(server->connectionCount(), 0, kWaitMs);
    QVERIFY(server->playerNames().isEmpty());
}

// The demo game and the client's standard telnet agree on everything they
// both speak: compression, terminal type, window size, prompts and MSDP.
void tst_DemoPlay::standardTelnetPlaysCompressedWithPrompts()
{
    DemoServer fastServer(DemoServer::Timing{50, 5, 0, 0});
    QVERIFY(fastServer.listen(0));
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
    connection.connectToServer("127.0.0.1", fastServer.port());
    QTRY_VERIFY_WITH_TIMEOUT(shown.contains("By what name"), kWaitMs);
    connection.sendCommand("Tester");
    QTRY_VERIFY_WITH_TIMEOUT(!prompts.isEmpty(), kWaitMs);
    QVERIFY2(prompts.first().contains(QRegularExpression("^> .*PL \\d+/\\d+.* >$")),
             qPrintable(prompts.first()));
    QTRY_COMPARE(msdp.value("CHARACTER_NAME"), "Tester");

    PlayerConnection* player = fastServer.findPlayer("Tester");
    QVERIFY(player);
    QVERIFY(player->telnetState().isCompressing());
    QCOMPARE(player->telnetState().terminalType(), "OLVEX");
    QCOMPARE(player->telnetState().columns(), 120);

    // The next output starts a line of its own after the prompt.
    connection.sendCommand("say Grüße →");
    QTRY_VERIFY_WITH_TIMEOUT(shown.contains("You say 'Grüße →'"), kWaitMs);
    QVERIFY(shown.contains(" >\n\x1b[36mYou say"));
    for (QChar c : std::as_const(shown)) // no option byte reached the text
        QVERIFY2(c == '\n' || c == '\x1b' || c >= ' ', qPrintable(QString::number(c.unicode())));
}

OLVEX_TEST_MAIN(tst_DemoPlay, QApplication)
#include "tst_DemoPlay.moc"
