#include "app/MainWindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QJsonArray>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QTabBar>
#include <QTabWidget>

#include "app/ProfileTransfer.h"
#include "app/SessionMenu.h"
#include "net/MudConnection.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "ui/CharacterDialog.h"
#include "ui/ConnectScreen.h"
#include "ui/FeaturesDialog.h"
#include "ui/GameScreen.h"
#include "ui/HelpDialog.h"
#include "ui/SettingsDialog.h"
#include "ui/Theme.h"

namespace {

} // namespace

MainWindow::MainWindow()
{
    setWindowTitle(QStringLiteral("Olvex Desktop Client"));
    fitToScreen();

    tabs = new QTabWidget(this);
    tabs->setStyleSheet(Theme::tabPaneStyleSheet());
    tabs->setDocumentMode(true);
    setCentralWidget(tabs);

    connectScreen = new ConnectScreen(tabs);
    tabs->addTab(connectScreen, QStringLiteral("Characters"));
    tabs->setTabsClosable(false);
    characterDialog = new CharacterDialog(this);
    profileTransfer = new ProfileTransfer(this);

    connect(connectScreen, &ConnectScreen::connect, this, &MainWindow::onConnectPressed);
    connect(connectScreen, &ConnectScreen::addCharacter, this, &MainWindow::onAddCharacter);
    connect(connectScreen, &ConnectScreen::editCharacter, this, &MainWindow::onEditCharacter);
    connect(connectScreen, &ConnectScreen::deleteCharacter, this, &MainWindow::onDeleteCharacter);
    connect(connectScreen, &ConnectScreen::editFeatures, this, &MainWindow::onEditFeatures);
    connect(tabs, &QTabWidget::tabCloseRequested, this, &MainWindow::onTabCloseRequested);
    connect(tabs, &QTabWidget::currentChanged, this, &MainWindow::onCurrentTabChanged);
    connect(SessionManager::instance(), &SessionManager::sessionClosed, this, &MainWindow::onSessionClosed);
    setupMenuBar();
    restoreWindowState();
}

MainWindow::~MainWindow()
{
    // Screens hold pointers to sessions; close them while both still exist.
    const QStringList keys = screens.keys();
    for (const QString& key : keys)
        closeSession(key);
}

void MainWindow::setupMenuBar()
{
    QMenu* file = menuBar()->addMenu(QStringLiteral("File"));
    connect(file->addAction(QStringLiteral("Import Profile")), &QAction::triggered, this,
            &MainWindow::onImportProfile);
    connect(file->addAction(QStringLiteral("Export Profile")), &QAction::triggered, this,
            &MainWindow::onExportProfile);
    file->addSeparator();
    // Spelled out: QKeySequence::Quit is empty on platforms without a quit key.
    QAction* quit = addWindowKey(file->addAction(QStringLiteral("Quit")), QKeySequence(Qt::CTRL | Qt::Key_Q));
    // Ctrl+Q quits from any window of the client, the script editor's too.
    quit->setShortcutContext(Qt::ApplicationShortcut);
    connect(quit, &QAction::triggered, this, &QWidget::close);
    addTabSwitchKeys();

    QAction* help = menuBar()->addMenu(QStringLiteral("Tools"))->addAction(QStringLiteral("Help"));
    connect(help, &QAction::triggered, this, &MainWindow::onHelp);
    menuBar()->addMenu(QStringLiteral("View"))->addAction(QStringLiteral("Theme"));
    new SessionMenu(menuBar()->addMenu(QStringLiteral("Session")), tabs);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    int connected = 0;

    for (const SessionTab& tab : std::as_const(screens))
        connected += tab.screen->getSession()->isConnected() ? 1 : 0;
    if (connected > 0 &&
        !confirm(QStringLiteral("Quit"),
                 QStringLiteral("%1 session(s) still connected. Disconnect and quit?").arg(connected))) {
        event->ignore();
        return;
    }
    saveWindowState();
    event->accept();
    // Other top-level windows (a script editor) must not keep the program alive.
    QCoreApplication::quit();
}

void MainWindow::addTabSwitchKeys()
{
    // Shortcuts, not key presses: a list or text box in a tab would take
    // PageUp/PageDown with Ctrl for itself before the window saw them.
    for (const bool next : {false, true}) {
        auto* action = new QAction(next ? QStringLiteral("Next Tab") : QStringLiteral("Previous Tab"), this);
        addWindowKey(action, QKeySequence(Qt::CTRL | (next ? Qt::Key_PageDown : Qt::Key_PageUp)));
        addAction(action);
        connect(action, &QAction::triggered, this, [this, next] {
            const int count = tabs->count();
            tabs->setCurrentIndex((tabs->currentIndex() + (next ? 1 : count - 1)) % count);
        });
    }
}

QAction* MainWindow::addWindowKey(QAction* action, const QKeySequence& key)
{
    action->setShortcut(key);
    windowKeys.append({action, key});
    return action;
}

bool MainWindow::confirm(const QString& title, const QString& text)
{
    return QMessageBox::question(this, title, text, QMessageBox::Yes | QMessageBox::No, QMessageBox::No) ==
           QMessageBox::Yes;
}

void MainWindow::onConnectPressed(const Character& character)
{
    GameSession* session = SessionManager::instance()->createSession(character);
    if (!session) {
        QMessageBox::warning(this, QStringLiteral("Error"), QStringLiteral("Maximum sessions (16) reached"),
                             QMessageBox::Ok);
        return;
    }

    SessionTab& tab = screens[character.key()];
    if (!tab.screen) {
        tab.screen = addScreen(session);
    } else if (std::exchange(tab.down, false)) {
        tab.screen->reconnect(); // the same session, so scrollback and state stay
    }
    GameScreen* screen = tab.screen;
    SessionManager::instance()->setActiveSession(session);
    tabs->setCurrentWidget(screen);
    screen->setFocus();
}

GameScreen* MainWindow::addScreen(GameSession* session)
{
    const Character& character = session->getCharacter();
    auto* screen = new GameScreen(session, this);
    tabs->addTab(screen, QStringLiteral("%1 @ %2").arg(character.name, character.host));
    tabs->setTabsClosable(true);
    // The close handler already ignores the character list; a close button
    // that does nothing would only puzzle the player.
    tabs->tabBar()->setTabButton(0, QTabBar::RightSide, nullptr);
    tabs->tabBar()->setTabButton(0, QTabBar::LeftSide, nullptr);

    // Disconnect is an explicit request, so it closes without asking.
    connect(screen, &GameScreen::disconnect, this, [this, key = character.key()] { closeSession(key); });
    connect(screen, &GameScreen::profiles, this, [this] { tabs->setCurrentIndex(0); });
    auto markDown = [this, key = character.key()](bool down) {
        if (const auto it = screens.find(key); it != screens.end())
            it->down = down;
    };
    connect(session, &GameSession::connected, this, [markDown] { markDown(false); });
    connect(session, &GameSession::disconnected, this, [markDown] { markDown(true); });
    connect(session->getConnection(), &MudConnection::error, this, [markDown] { markDown(true); });
    connect(screen, &GameScreen::boundKeysChanged, this, &MainWindow::updateWindowKeys);
    connect(screen, &GameScreen::outputArrived, this,
            [this, screen](bool highlighted) { onOutputArrived(screen, highlighted); });
    if (auto* splitter = screen->findChild<QSplitter*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (splitterSizes.size() == splitter->count())
            splitter->setSizes(splitterSizes);
        connect(splitter, &QSplitter::splitterMoved, this,
                [this, splitter] { splitterSizes = splitter->sizes(); });
    }
    return screen;
}

void MainWindow::onTabCloseRequested(int index)
{
    if (index == 0)
        return;
    auto* screen = qobject_cast<GameScreen*>(tabs->widget(index));
    if (!screen)
        return;
    if (screen->getSession()->isConnected() &&
        !confirm(QStringLiteral("Close Session"), QStringLiteral("Disconnect '%1' and close its tab?")
                                                      .arg(screen->getSession()->getCharacter().name)))
        return;
    closeSession(screen->getSession()->getCharacter().key());
}

void MainWindow::closeSession(const QString& key)
{
    // The tab goes when the manager reports the session closed.
    if (GameScreen* screen = screens.value(key).screen)
        SessionManager::instance()->closeSession(screen->getSession());
}

void MainWindow::onSessionClosed(GameSession* session)
{
    const auto it = screens.constFind(session->getCharacter().key());
    if (it == screens.cend() || it->screen->getSession() != session)
        return;
    GameScreen* screen = it->screen;
    screens.erase(it);
    tabs->removeTab(tabs->indexOf(screen));
    screen->deleteLater();
    if (tabs->count() == 1)
        tabs->setTabsClosable(false);
}

bool MainWindow::acceptCharacter(Character& character)
{
    if (characterDialog->exec() != QDialog::Accepted)
        return false;
    character = characterDialog->getCharacter();
    if (character.name.isEmpty() || character.host.isEmpty() || character.port < 1) {
        QMessageBox::warning(this, QStringLiteral("Invalid"), QStringLiteral("Please fill all fields"));
        return false;
    }
    return true;
}

void MainWindow::onAddCharacter()
{
    characterDialog->setCharacter(Character());
    Character character;
    if (!acceptCharacter(character))
        return;
    QList<Character> characters = Storage::instance()->getCharacters();
    characters.append(character);
    Storage::instance()->setCharacters(characters);
    connectScreen->loadCharacters();
}

void MainWindow::onEditCharacter(const Character& original)
{
    characterDialog->setCharacter(original);
    Character edited;
    if (!acceptCharacter(edited))
        return;
    QList<Character> characters = Storage::instance()->getCharacters();
    const int index = characters.indexOf(original);
    if (index < 0)
        return;
    characters[index] = edited;
    Storage::instance()->setCharacters(characters);
    connectScreen->loadCharacters();
}

void MainWindow::onDeleteCharacter(const Character& character)
{
    if (!confirm(QStringLiteral("Confirm Delete"),
                 QStringLiteral("Delete character '%1'?").arg(character.name)))
        return;
    Storage::instance()->removeCharacter(character);
    SettingsDialog::forgetOptions(character);
    connectScreen->loadCharacters();
}

void MainWindow::onEditFeatures(const Character& character)
{
    Storage* storage = Storage::instance();
    QList<int> features = storage->getEnabledFeatures(character);
    // A character of the home game that never had a session shows the
    // features its first session will switch on.
    if (GameFeatures::usesHomeDefaults(features, character.host))
        features = GameFeatures::homeDefaults();

    FeaturesDialog dialog(this);
    dialog.setFeatures(character.name, features);
    if (dialog.exec() != QDialog::Accepted)
        return;
    features = dialog.getFeatures();
    if (GameSession* session = SessionManager::instance()->getSession(character)) {
        for (int code = 0; code < FeaturesDialog::kFeatureCount; ++code) {
            const auto feature = static_cast<GameFeature>(code);
            if (session->isFeatureEnabled(feature) != features.contains(code))
                session->setFeatureEnabled(feature, features.contains(code));
        }
    }
    // Last, so the stored order is the dialog's whatever the session wrote.
    storage->setEnabledFeatures(character, features);
}

std::optional<Character> MainWindow::currentCharacter() const
{
    if (const auto* screen = qobject_cast<GameScreen*>(tabs->currentWidget()))
        return screen->getSession()->getCharacter();
    return connectScreen->currentCharacter();
}

bool MainWindow::conveniencesEnabled(const Character& character) const
{
    if (const GameSession* session = SessionManager::instance()->getSession(character))
        return session->isFeatureEnabled(GameFeature::ClientConveniences);
    return Storage::instance()->getEnabledFeatures(character).contains(int(GameFeature::ClientConveniences));
}

void MainWindow::onHelp()
{
    const std::optional<Character> character = currentCharacter();
    if (!character || !conveniencesEnabled(*character))
        return;
    if (!helpDialog) {
        helpDialog = new HelpDialog(this);
        helpDialog->setObjectName(QStringLiteral("helpDialog"));
    }
    helpDialog->show();
    helpDialog->raise();
    helpDialog->activateWindow();
}

void MainWindow::onExportProfile()
{
    const std::optional<Character> character = currentCharacter();
    if (character && conveniencesEnabled(*character))
        profileTransfer->exportProfile(*character);
}

void MainWindow::onImportProfile()
{
    const std::optional<Character> character = currentCharacter();
    if (character && conveniencesEnabled(*character))
        profileTransfer->importProfile(*character);
}

void MainWindow::onOutputArrived(GameScreen* screen, bool highlighted)
{
    // Called for every line: the tab in front (the usual case) returns at once.
    const int index = tabs->indexOf(screen);
    if (index <= 0 || index == tabs->currentIndex())
        return;
    const auto it = screens.find(screen->getSession()->getCharacter().key());
    if (it == screens.end())
        return;
    const int level = qMax(it->activity, highlighted ? 2 : 1);
    if (level != it->activity)
        showActivity(index, it->activity = level);
}

void MainWindow::onCurrentTabChanged(int index)
{
    updateWindowKeys();
    auto* screen = qobject_cast<GameScreen*>(tabs->widget(index));
    if (!screen)
        return;
    SessionManager::instance()->setActiveSession(screen->getSession());
    const auto it = screens.find(screen->getSession()->getCharacter().key());
    if (it != screens.end() && it->activity != 0)
        showActivity(index, it->activity = 0);
}

void MainWindow::updateWindowKeys()
{
    // Two shortcuts on one key cancel each other out; a player who bound the
    // key asked for that binding (File > Quit stays in the menu).
    const auto* screen = qobject_cast<GameScreen*>(tabs->currentWidget());
    for (const auto& [action, key] : std::as_const(windowKeys))
        action->setShortcut(screen && screen->boundKeys().contains(key) ? QKeySequence() : key);
}

void MainWindow::showActivity(int index, int level)
{
    // A dot and a colour for the eye, the tool tip for a screen reader.
    static const char* const kTips[] = {"", "New output", "New highlighted output"};
    QIcon icon;
    if (level > 0) {
        QPixmap dot(12, 12);
        dot.fill(Qt::transparent);
        QPainter painter(&dot);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QColor(Theme::kAccent));
        painter.setBrush(level > 1 ? QColor(Theme::kAccent) : QColor(Qt::transparent));
        painter.drawEllipse(QRectF(1.5, 1.5, 9, 9));
        icon = QIcon(dot);
    }
    tabs->setTabIcon(index, icon);
    tabs->setTabToolTip(index, QString::fromLatin1(kTips[level]));
    tabs->tabBar()->setTabTextColor(index, level > 1 ? QColor(Theme::kAccent) : QColor());
}

void MainWindow::fitToScreen()
{
    // The usual minimum, unless the screen is smaller (1366 by 768 leaves
    // less than 800 pixels of height): then the window, title bar included,
    // must still fit. The frame is unknown before the window is shown.
    constexpr int kTitleBarAllowance = 40;
    QSize minimum(1280, 800);
    if (const QScreen* display = screen())
        minimum = minimum.boundedTo(display->availableSize() - QSize(0, kTitleBarAllowance));
    setMinimumSize(minimum);
}

void MainWindow::restoreWindowState()
{
    Storage* storage = Storage::instance();
    restoreGeometry(
        QByteArray::fromBase64(storage->uiValue(QStringLiteral("mainWindowGeometry")).toString().toLatin1()));
    const QJsonArray sizes = storage->uiValue(QStringLiteral("gameScreenSplitter")).toArray();
    for (const QJsonValue& size : sizes)
        splitterSizes.append(size.toInt());
}

void MainWindow::saveWindowState()
{
    Storage* storage = Storage::instance();
    storage->setUiValue(QStringLiteral("mainWindowGeometry"), QString::fromLatin1(saveGeometry().toBase64()));
    QJsonArray sizes;
    for (int size : std::as_const(splitterSizes))
        sizes.append(size);
    storage->setUiValue(QStringLiteral("gameScreenSplitter"), sizes);
}
