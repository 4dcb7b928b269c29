#include "app/MainWindow.h"

#include <QMenuBar>
#include <QMessageBox>
#include <QTabBar>
#include <QTabWidget>

#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "ui/CharacterDialog.h"
#include "ui/ConnectScreen.h"
#include "ui/GameScreen.h"
#include "ui/Theme.h"

MainWindow::MainWindow()
{
    setWindowTitle(QStringLiteral("Olvex Desktop Client"));
    setMinimumSize(1280, 800);

    tabs = new QTabWidget(this);
    tabs->setStyleSheet(Theme::tabPaneStyleSheet());
    tabs->setDocumentMode(true);
    setCentralWidget(tabs);

    connectScreen = new ConnectScreen(tabs);
    tabs->addTab(connectScreen, QStringLiteral("Characters"));
    tabs->setTabsClosable(false);
    characterDialog = new CharacterDialog(this);

    connect(connectScreen, &ConnectScreen::connect, this, &MainWindow::onConnectPressed);
    connect(connectScreen, &ConnectScreen::addCharacter, this, &MainWindow::onAddCharacter);
    connect(connectScreen, &ConnectScreen::editCharacter, this, &MainWindow::onEditCharacter);
    connect(connectScreen, &ConnectScreen::deleteCharacter, this, &MainWindow::onDeleteCharacter);
    connect(tabs, &QTabWidget::tabCloseRequested, this, &MainWindow::onTabCloseRequested);
    setupMenuBar();
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
    file->addAction(QStringLiteral("Import Profile"));
    file->addAction(QStringLiteral("Export Profile"));
    file->addSeparator();
    QAction* quit = file->addAction(QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    menuBar()->addMenu(QStringLiteral("Tools"))->addAction(QStringLiteral("Help"));
    menuBar()->addMenu(QStringLiteral("View"))->addAction(QStringLiteral("Theme"));
}

void MainWindow::onConnectPressed(const Character& character)
{
    GameSession* session = SessionManager::instance()->createSession(character);
    if (!session) {
        QMessageBox::warning(this, QStringLiteral("Error"), QStringLiteral("Maximum sessions (16) reached"),
                             QMessageBox::Ok);
        return;
    }

    const QString key = character.key();
    GameScreen* screen = screens.value(key);
    if (!screen) {
        screen = new GameScreen(session, this);
        screens.insert(key, screen);
        sessions.insert(key, session);
        tabs->addTab(screen, QStringLiteral("%1 @ %2").arg(character.name, character.host));
        tabs->setTabsClosable(true);
        // The close handler already ignores the character list; a close
        // button that does nothing would only puzzle the player.
        tabs->tabBar()->setTabButton(0, QTabBar::RightSide, nullptr);
        tabs->tabBar()->setTabButton(0, QTabBar::LeftSide, nullptr);
    }
    SessionManager::instance()->setActiveSession(session);
    tabs->setCurrentWidget(screen);
    screen->setFocus();

    // Made on every press; both handlers are harmless when they run twice.
    connect(screen, &GameScreen::disconnect, this, [this, screen] {
        const int index = tabs->indexOf(screen);
        if (index > 0)
            onTabCloseRequested(index);
    });
    connect(screen, &GameScreen::profiles, this, [this] { tabs->setCurrentIndex(0); });
}

void MainWindow::onTabCloseRequested(int index)
{
    if (index == 0)
        return;
    auto* screen = qobject_cast<GameScreen*>(tabs->widget(index));
    if (!screen)
        return;
    const QString key = screens.key(screen);
    if (!key.isEmpty())
        closeSession(key);
}

void MainWindow::closeSession(const QString& key)
{
    GameScreen* screen = screens.take(key);
    GameSession* session = sessions.take(key);
    if (screen) {
        tabs->removeTab(tabs->indexOf(screen));
        screen->deleteLater();
    }
    if (session)
        SessionManager::instance()->closeSession(session);
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
    const auto answer = QMessageBox::question(this, QStringLiteral("Confirm Delete"),
                                              QStringLiteral("Delete character '%1'?").arg(character.name),
                                              QMessageBox::Yes | QMessageBox::No);
    if (answer != QMessageBox::Yes)
        return;
    QList<Character> characters = Storage::instance()->getCharacters();
    characters.removeOne(character);
    Storage::instance()->setCharacters(characters);
    connectScreen->loadCharacters();
}
