#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTreeWidget>
#include <QtTest>

#include <algorithm>
#include <functional>

#include "app/MainWindow.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "terminal/TerminalWidget.h"
#include "ui/CharacterDialog.h"
#include "ui/CommandInput.h"
#include "ui/ConnectScreen.h"
#include "ui/FeaturesDialog.h"
#include "ui/GameScreen.h"
#include "ui/SettingsDialog.h"

class tst_MainWindow : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void tabsFollowSessions();
    void charactersAreValidatedAndStored();
    void featuresAreSwitchedPerCharacter();
    void profilesTravelThroughTheFileMenu();
    void sessionMenuActsOnTheScreenInFront();
    void backgroundTabsShowNewOutput();
    void windowLayoutSurvivesARestart();
    void everyFocusableControlHasAName();
    void quitEndsTheProgramWhateverIsOpen();

private:
    // A character who plays on the test's own loopback server.
    Character local(const QString& name) const { return {name, "", "127.0.0.1", server->serverPort(), ""}; }

    std::unique_ptr<QTcpServer> server;
};

namespace {

using ModalAction = std::function<void(QWidget*)>;

// Handles the next modal windows as they open, one action each, in order.
QTimer* answerModals(QList<ModalAction> actions)
{
    auto* timer = new QTimer;
    auto handled = std::make_shared<QPointer<QWidget>>();
    QObject::connect(timer, &QTimer::timeout, [timer, actions, handled]() mutable {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || modal == handled->data())
            return;
        *handled = modal;
        const ModalAction action = actions.takeFirst();
        if (actions.isEmpty())
            timer->deleteLater();
        action(modal);
    });
    timer->start(10);
    return timer;
}

ModalAction clickButton(QMessageBox::StandardButton which, QString* seen = nullptr)
{
    return [which, seen](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        QVERIFY(box);
        if (seen)
            *seen = box->windowTitle() + "|" + box->text();
        box->button(which)->click();
    };
}

// Enter on a question takes its default button.
const ModalAction pressEnter = [](QWidget* modal) {
    QTest::keyClick(modal, Qt::Key_Return);
};

ModalAction chooseFile(const QString& path)
{
    return [path](QWidget* modal) {
        QVERIFY(qobject_cast<QFileDialog*>(modal));
        // Typed, as a player would; selectFile() is lost while the dialog
        // is still reading a folder it showed before.
        auto* name = modal->findChild<QLineEdit*>("fileNameEdit");
        QVERIFY(name);
        name->setText(path);
        QTest::keyClick(name, Qt::Key_Return);
    };
}

QAction* menuAction(MainWindow& window, const QString& text)
{
    for (QAction* action : window.menuBar()->findChildren<QAction*>()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

void selectCharacter(MainWindow& window, const QString& name)
{
    auto* tree = window.findChild<ConnectScreen*>()->findChild<QTreeWidget*>();
    const QList<QTreeWidgetItem*> rows = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
    QVERIFY(!rows.isEmpty());
    tree->setCurrentItem(rows.first());
    window.getTabs()->setCurrentIndex(0);
}

void storeCharacters(const QList<Character>& characters, bool conveniences)
{
    Storage::instance()->setCharacters(characters);
    for (const Character& character : characters)
        Storage::instance()->setEnabledFeatures(character, conveniences ? QList<int>{12} : QList<int>{});
}

// The focusable controls under `root` (itself included) that a screen reader
// reads without a word: "+" or "✕" read aloud tells the player nothing.
QStringList unnamedControls(QWidget* root)
{
    QStringList unnamed;
    QList<QWidget*> widgets = root->findChildren<QWidget*>();
    widgets.prepend(root);
    for (QWidget* widget : std::as_const(widgets)) {
        // A combo box speaks for its own drop-down list.
        bool inComboBox = false;
        for (QWidget* up = widget->parentWidget(); up && !inComboBox; up = up->parentWidget())
            inComboBox = qobject_cast<QComboBox*>(up);
        if (!(widget->focusPolicy() & Qt::TabFocus) || widget->focusProxy() || inComboBox)
            continue;
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
        const QString name = face ? face->text(QAccessible::Name) : QString();
        if (std::none_of(name.cbegin(), name.cend(), [](QChar c) { return c.isLetterOrNumber(); }))
            unnamed << root->metaObject()->className() + QString(" > ") + widget->metaObject()->className();
    }
    return unnamed;
}

} // namespace

void tst_MainWindow::init()
{
    Storage::instance()->setCharacters({});
    server = std::make_unique<QTcpServer>();
    QVERIFY(server->listen(QHostAddress::LocalHost));
}

void tst_MainWindow::cleanup()
{
    QTRY_VERIFY(SessionManager::instance()->getAllSessions().isEmpty());
}

void tst_MainWindow::tabsFollowSessions()
{
    MainWindow window;
    QTabWidget* tabs = window.getTabs();
    const Character hero = local("Hero");
    window.onConnectPressed(hero);
    window.onConnectPressed(hero); // the same character gets its open tab back
    QCOMPARE(tabs->count(), 2);
    window.onTabCloseRequested(0); // the character list never closes
    QCOMPARE(tabs->count(), 2);
    GameScreen* screen = window.getScreen(hero.key());
    QPointer<GameSession> session(screen->getSession());

    for (int i = 1; i < SessionManager::kMaxSessions; ++i)
        window.onConnectPressed(Character{QString("C%1").arg(i), "", "127.0.0.1", 1, ""});
    QCOMPARE(tabs->count(), 17);
    QString seen;
    answerModals({clickButton(QMessageBox::Ok, &seen)});
    window.onConnectPressed(Character{"Seventeenth", "", "127.0.0.1", 1, ""});
    QCOMPARE(seen, "Error|Maximum sessions (16) reached");
    QCOMPARE(tabs->count(), 17);

    // A connected session's close button asks first; Enter means No.
    answerModals({pressEnter});
    window.onTabCloseRequested(tabs->indexOf(screen));
    QCOMPARE(tabs->count(), 17);
    answerModals({clickButton(QMessageBox::Yes, &seen)});
    window.onTabCloseRequested(tabs->indexOf(screen));
    QCOMPARE(seen, "Close Session|Disconnect 'Hero' and close its tab?");
    QCOMPARE(tabs->count(), 16);
    QTRY_VERIFY(!session);

    // The screen's Disconnect button closes its tab and its session at once.
    GameScreen* other = window.getScreen(Character{"C1", "", "127.0.0.1", 1, ""}.key());
    emit other->disconnect();
    QCOMPARE(tabs->count(), 15);
    QCOMPARE(SessionManager::instance()->getAllSessions().size(), 14);
}

void tst_MainWindow::charactersAreValidatedAndStored()
{
    MainWindow window;
    const auto fill = [](const QStringList& values) -> ModalAction {
        return [values](QWidget* modal) {
            QVERIFY(qobject_cast<CharacterDialog*>(modal));
            for (int i = 0; i < values.size(); ++i)
                modal->findChildren<QLineEdit*>().at(i)->setText(values[i]);
            static_cast<QDialog*>(modal)->accept();
        };
    };
    QString warning;
    answerModals({fill({"Ann", "mud.example"}), clickButton(QMessageBox::Ok, &warning)});
    window.onAddCharacter();
    QCOMPARE(warning, "Invalid|Please fill all fields");
    QVERIFY(Storage::instance()->getCharacters().isEmpty());

    answerModals({fill({"Ann", "mud.example", "4000"})});
    window.onAddCharacter();
    QCOMPARE(Storage::instance()->getCharacters().size(), 1);
    const Character ann = Storage::instance()->getCharacters().first();
    QCOMPARE(ann.port, 4000);

    answerModals({fill({"Ann", "mud.example", "4001"})});
    window.onEditCharacter(ann);
    QCOMPARE(Storage::instance()->getCharacters().first().port, 4001);

    // Options remembered for Ann go with her.
    SettingsDialog options;
    options.showCurrent(Storage::instance()->getCharacters().first(), 10);
    options.findChild<QCheckBox*>()->setChecked(false);
    options.onAccepted();
    QVERIFY(!SettingsDialog::storedEchoInput(Storage::instance()->getCharacters().first()));

    // Enter on "Confirm Delete" keeps the character; only Yes deletes.
    answerModals({pressEnter});
    window.onDeleteCharacter(Storage::instance()->getCharacters().first());
    QCOMPARE(Storage::instance()->getCharacters().size(), 1);
    QString question;
    answerModals({clickButton(QMessageBox::Yes, &question)});
    window.onDeleteCharacter(Storage::instance()->getCharacters().first());
    QCOMPARE(question, "Confirm Delete|Delete character 'Ann'?");
    QVERIFY(Storage::instance()->getCharacters().isEmpty());
    QVERIFY(!readFile(Storage::instance()->getStoragePath()).contains("Ann_mud.example"));
}

void tst_MainWindow::featuresAreSwitchedPerCharacter()
{
    // A home-game character never played shows the features it will start with.
    const Character home{"Ann", "", "mud.olvex.example", 4000, ""};
    const Character other = local("Bob");
    Storage::instance()->setCharacters({home, other});
    MainWindow window;
    QList<int> shown; // ticked as the dialog opens
    const auto toggle = [&shown](QList<int> codes) -> ModalAction {
        return [&shown, codes](QWidget* modal) {
            QVERIFY(qobject_cast<FeaturesDialog*>(modal));
            const QList<QCheckBox*> boxes = modal->findChildren<QCheckBox*>();
            QCOMPARE(boxes.size(), 13);
            shown.clear();
            for (int code = 0; code < boxes.size(); ++code) {
                if (boxes.at(code)->isChecked())
                    shown << code;
            }
            for (int code : codes)
                boxes.at(code)->click();
            static_cast<QDialog*>(modal)->accept();
        };
    };
    answerModals({toggle({12, 0})});
    selectCharacter(window, "Ann");
    window.findChild<QPushButton*>("featuresButton")->click();
    QCOMPARE(shown, QList<int>({0, 1, 2, 3, 4, 6, 8, 9, 10}));
    QCOMPARE(Storage::instance()->getEnabledFeatures(home), QList<int>({1, 2, 6, 3, 4, 8, 9, 10, 12}));

    // With a session open, the session follows at once.
    window.onConnectPressed(other);
    GameSession* session = window.getScreen(other.key())->getSession();
    answerModals({toggle({11, 12})});
    window.onEditFeatures(other);
    QCOMPARE(shown, QList<int>());
    QVERIFY(session->isFeatureEnabled(GameFeature::StandardTelnet));
    QVERIFY(session->isFeatureEnabled(GameFeature::ClientConveniences));
    QCOMPARE(Storage::instance()->getEnabledFeatures(other), QList<int>({11, 12}));
}

void tst_MainWindow::profilesTravelThroughTheFileMenu()
{
    QTemporaryDir files;
    const Character ann{"Ann", "", "a.example", 4000, ""};
    const Character bob{"Bob", "", "b.example", 4000, ""};
    storeCharacters({ann, bob}, false);
    Scripts scripts;
    scripts.aliases = {{"look", "l", "look", "", true}};
    scripts.luaModules = {{"tools", true, 0}};
    Storage::instance()->setScripts(ann, scripts);
    writeFile(Storage::instance()->getScriptDir(ann) + "/tools.lua", "function toolsReady() end\n");
    MainWindow window;
    QAction* exportAction = menuAction(window, "Export Profile");
    QAction* importAction = menuAction(window, "Import Profile");
    QAction* helpAction = menuAction(window, "Help");

    // Without client conveniences these menu entries stay inert.
    selectCharacter(window, "Ann");
    for (QAction* action : {exportAction, importAction, helpAction}) {
        action->trigger();
        QVERIFY(!QApplication::activeModalWidget());
    }
    QVERIFY(!window.findChild<QDialog*>("helpDialog"));

    storeCharacters({ann, bob}, true);
    helpAction->trigger();
    QTRY_VERIFY(window.findChild<QDialog*>("helpDialog") &&
                window.findChild<QDialog*>("helpDialog")->isVisible());
    const QString path = files.filePath("ann");
    QString seen;
    answerModals({chooseFile(path), clickButton(QMessageBox::Ok, &seen)});
    exportAction->trigger();
    QCOMPARE(seen, "Export Profile|Exported to " + path + ".olvexprofile");

    // Bob has scripts of his own: importing asks, and Enter means No.
    Scripts bobs;
    bobs.variables = {{"mine", "1", ""}};
    Storage::instance()->setScripts(bob, bobs);
    selectCharacter(window, "Bob");
    answerModals({chooseFile(path + ".olvexprofile"), pressEnter});
    importAction->trigger();
    QCOMPARE(Storage::instance()->getScripts(bob), bobs);
    QVERIFY(!QFile::exists(Storage::instance()->getScriptDir(bob) + "/tools.lua"));

    window.onConnectPressed(bob); // a live session takes the modules at once
    answerModals({chooseFile(path + ".olvexprofile"), clickButton(QMessageBox::Yes),
                  clickButton(QMessageBox::Ok, &seen)});
    importAction->trigger();
    QVERIFY(window.getScreen(bob.key())->getSession()->getLuaFunctions().contains("toolsReady"));
    QCOMPARE(seen, "Import Profile|Imported the profile into 'Bob'");
    QCOMPARE(Storage::instance()->getScripts(bob), scripts);
}

void tst_MainWindow::quitEndsTheProgramWhateverIsOpen()
{
    MainWindow window;
    window.show();
    window.onConnectPressed(local("Hero"));
    QTRY_VERIFY(SessionManager::instance()->getAllSessions().first()->isConnected());
    // Another top-level window, as the script editor is, has the focus.
    QWidget editor;
    editor.show();
    QApplication::setActiveWindow(&editor);
    QVERIFY(QTest::qWaitForWindowActive(&editor));

    QString question;
    answerModals({pressEnter, clickButton(QMessageBox::Yes, &question)});
    auto pressCtrlQ = [&editor] {
        QApplication::setActiveWindow(&editor);
        QTest::keyClick(&editor, Qt::Key_Q, Qt::ControlModifier);
    };
    QTimer::singleShot(0, [&] {
        pressCtrlQ(); // asked, and No keeps the program running
        QVERIFY(window.isVisible());
        QTimer::singleShot(100, pressCtrlQ);
    });
    QTimer::singleShot(10000, [] { QCoreApplication::exit(1); });
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(question, "Quit|1 session(s) still connected. Disconnect and quit?");
}

void tst_MainWindow::sessionMenuActsOnTheScreenInFront()
{
    QTemporaryDir files;
    MainWindow window;
    QAction* reconnect = menuAction(window, "Reconnect");
    QVERIFY(reconnect && !reconnect->isEnabled()); // the character list is in front
    const Character hero = local("Hero");
    window.onConnectPressed(hero);
    GameScreen* screen = window.getScreen(hero.key());
    QTRY_VERIFY(server->hasPendingConnections());
    QTcpSocket* link = server->nextPendingConnection();
    QVERIFY(reconnect->isEnabled());

    const QString log = files.filePath("hero.log");
    answerModals({chooseFile(log)});
    menuAction(window, "Log to File…")->trigger();
    menuAction(window, "Timestamps")->trigger();
    QVERIFY(screen->getTerminal()->getTimestamps());
    menuAction(window, "Timestamps")->trigger();
    link->write("one\r\ntwo\r\n");
    QTRY_VERIFY(screen->getTerminal()->toPlainText().contains("two"));
    menuAction(window, "Stop Logging")->trigger();
    QVERIFY(!screen->getTerminal()->getLogging());
    const QByteArray logged = readFile(log); // its exact form is the terminal's business
    QVERIFY(logged.contains("one") && logged.contains("two"));

    menuAction(window, "Freeze Output")->trigger();
    QVERIFY(screen->getTerminal()->isFrozen());
    menuAction(window, "Freeze Output")->trigger();
    menuAction(window, "Clear Output")->trigger();
    QVERIFY(!screen->getTerminal()->toPlainText().contains("two"));

    // After the server hangs up, Reconnect, and CONNECT on the character
    // list, bring the same session and screen back.
    GameSession* session = screen->getSession();
    link->close();
    QTRY_VERIFY(!session->isConnected());
    reconnect->trigger();
    QTRY_VERIFY(session->isConnected() && server->hasPendingConnections());
    server->nextPendingConnection()->close();
    QTRY_VERIFY(!session->isConnected());
    window.onConnectPressed(hero);
    QTRY_VERIFY(session->isConnected());
    QCOMPARE(window.getScreen(hero.key()), screen);
}

void tst_MainWindow::backgroundTabsShowNewOutput()
{
    const Character ann = local("Ann");
    const Character bob = local("Bob");
    Scripts scripts;
    scripts.triggers = {Trigger::fromJson({{"pattern", "tells you"}, {"highlight", true}})};
    scripts.keyBindings = {{"bye", "Ctrl+Q", "say bye", "", true}};
    Storage::instance()->setScripts(bob, scripts);
    Storage::instance()->setEnabledFeatures(bob, {int(GameFeature::TriggerHighlights)});
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.onConnectPressed(bob);
    QTRY_VERIFY(server->hasPendingConnections());
    QTcpSocket* toBob = server->nextPendingConnection();
    window.onConnectPressed(ann); // Ann in front, Bob behind
    QTabWidget* tabs = window.getTabs();
    const int bobTab = tabs->indexOf(window.getScreen(bob.key()));

    toBob->write("The wind blows.\r\n");
    QTRY_COMPARE(tabs->tabToolTip(bobTab), "New output");
    QVERIFY(!tabs->tabIcon(bobTab).isNull());
    toBob->write("Cid tells you: hi\r\nThe wind blows.\r\n");
    QTRY_COMPARE(tabs->tabToolTip(bobTab), "New highlighted output");
    tabs->setCurrentIndex(bobTab);
    QCOMPARE(tabs->tabToolTip(bobTab), QString());
    QVERIFY(tabs->tabIcon(bobTab).isNull());
    toBob->write("The wind blows.\r\n"); // seen as it comes: no mark
    QTest::qWait(100);
    QCOMPARE(tabs->tabToolTip(bobTab), QString());

    // Bob's own Ctrl+Q is his binding, not the window's Quit.
    QLineEdit* bobInput = window.getScreen(bob.key())->findChild<CommandInput*>();
    QTest::keyClick(bobInput, Qt::Key_Q, Qt::ControlModifier);
    QByteArray toldBob;
    QTRY_VERIFY((toldBob += toBob->readAll()).endsWith("say bye\r\n"));
    QVERIFY(window.isVisible());

    // Ctrl+PageDown / Ctrl+PageUp walk the tabs, around the end, from the
    // input line and from a list that takes PageDown for itself.
    QTest::keyClick(bobInput, Qt::Key_PageDown, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), bobTab + 1);
    auto* annList = window.getScreen(ann.key())->findChild<QListWidget*>();
    annList->setFocus();
    QTest::keyClick(annList, Qt::Key_PageDown, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), 0);
    QTest::keyClick(tabs->currentWidget(), Qt::Key_PageUp, Qt::ControlModifier);
    QCOMPARE(tabs->currentWidget(), window.getScreen(ann.key()));
}

void tst_MainWindow::windowLayoutSurvivesARestart()
{
    const Character hero{"Hero", "", "127.0.0.1", 1, ""};
    QList<int> dragged;
    {
        MainWindow window;
        window.show();
        window.resize(1333, 877);
        window.move(37, 21);
        window.onConnectPressed(hero);
        auto* splitter = window.getScreen(hero.key())->findChild<QSplitter*>();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QList<int> before = splitter->sizes();
        QWidget* handle = splitter->handle(1);
        QTest::mousePress(handle, Qt::LeftButton);
        QTest::mouseMove(handle, handle->rect().center() - QPoint(120, 0));
        QTest::mouseRelease(handle, Qt::LeftButton, {}, handle->rect().center() - QPoint(120, 0));
        dragged = splitter->sizes();
        QVERIFY(dragged != before);
        QVERIFY(window.close());
    }
    MainWindow window;
    window.show();
    QCOMPARE(window.size(), QSize(1333, 877));
    // The offscreen screen is 800 by 600: the 1280 by 800 minimum gives way.
    QVERIFY(window.minimumHeight() <= window.screen()->availableSize().height() - 40);
    QCOMPARE(window.pos(), QPoint(37, 21));
    window.onConnectPressed(hero);
    QCOMPARE(window.getScreen(hero.key())->findChild<QSplitter*>()->sizes(), dragged);
    // Fits a 1366 by 768 screen less a panel and a title bar, input line and CONNECT included.
    QVERIFY2(window.minimumSizeHint().height() <= 768 - 40 - 40,
             qPrintable(QString::number(window.minimumSizeHint().height())));
}

// Opens every window and dialog the player can reach from the main window by
// pressing buttons (except those that delete, close or leave), and checks
// each focusable control the way a screen reader sees it.
void tst_MainWindow::everyFocusableControlHasAName()
{
    const Character hero = local("Hero");
    storeCharacters({hero}, true);
    MainWindow window;
    window.show();
    window.onConnectPressed(hero);

    QStringList unnamed;
    QSet<QString> visited;
    auto check = [&unnamed, &visited](QWidget* root) {
        visited.insert(root->metaObject()->className());
        unnamed << unnamedControls(root);
    };
    static const QRegularExpression leaves(
        "Disconnect|Delete|Remove|Clear|Quit|Close|Import|Export|Save|Cancel|OK|^[-✕⊘]$|CONNECT|Profiles");
    auto pressButtons = [&](QWidget* root) {
        for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
            if (!button->isVisible() || !button->isEnabled() || button->text().contains(leaves) ||
                qobject_cast<QCheckBox*>(button))
                continue;
            QPointer<QTimer> pending = answerModals({[&](QWidget* modal) {
                check(modal);
                QTest::keyClick(modal, Qt::Key_Escape);
            }});
            button->click();
            QTest::qWait(20);
            delete pending.data(); // the button opened no dialog
        }
    };
    // Every page of every tab widget, since buttons act on the page shown.
    auto pressAll = [&](QWidget* root) {
        pressButtons(root);
        for (QTabWidget* pages : root->findChildren<QTabWidget*>()) {
            for (int i = 0; i < pages->count() && pages->isVisible(); ++i) {
                pages->setCurrentIndex(i);
                pressButtons(pages->widget(i));
            }
        }
    };
    menuAction(window, "Help")->trigger();
    selectCharacter(window, "Hero");
    pressAll(&window);
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top != &window && top->isVisible() && !qobject_cast<QMenu*>(top))
            pressAll(top);
    }
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top->isVisible() && !qobject_cast<QMenu*>(top))
            check(top);
    }
    for (const char* expected : {"MainWindow", "CharacterDialog", "FeaturesDialog", "HelpDialog",
                                 "SettingsDialog", "ScriptEditor", "ScriptItemDialog"})
        QVERIFY2(visited.contains(expected), expected);
    QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join('\n')));
}

OLVEX_TEST_MAIN(tst_MainWindow, QApplication)
#include "tst_MainWindow.moc"
