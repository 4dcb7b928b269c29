#include "app/SessionMenu.h"

#include <QDir>
#include <QFileDialog>
#include <QMenu>
#include <QMessageBox>
#include <QTabWidget>

#include "session/GameSession.h"
#include "terminal/TerminalWidget.h"
#include "ui/GameScreen.h"

namespace {

const QString kLogToFile = QStringLiteral("Log to File…");
const QString kStopLogging = QStringLiteral("Stop Logging");

} // namespace

SessionMenu::SessionMenu(QMenu* menu, QTabWidget* tabs)
    : QObject(menu)
    , tabs(tabs)
{
    reconnect = menu->addAction(QStringLiteral("Reconnect"));
    menu->addSeparator();
    logToFile = menu->addAction(kLogToFile);
    timestamps = menu->addAction(QStringLiteral("Timestamps"));
    timestamps->setCheckable(true);
    freeze = menu->addAction(QStringLiteral("Freeze Output"));
    freeze->setCheckable(true);
    clear = menu->addAction(QStringLiteral("Clear Output"));

    connect(reconnect, &QAction::triggered, this, [this] {
        if (GameScreen* screen = current())
            screen->reconnect();
    });
    connect(logToFile, &QAction::triggered, this, &SessionMenu::onLogToFile);
    connect(timestamps, &QAction::triggered, this, [this](bool on) {
        if (GameScreen* screen = current())
            screen->getTerminal()->setTimestamps(on);
    });
    connect(freeze, &QAction::triggered, this, [this](bool on) {
        if (GameScreen* screen = current())
            screen->getTerminal()->setFrozen(on);
    });
    connect(clear, &QAction::triggered, this, [this] {
        if (GameScreen* screen = current())
            screen->getTerminal()->clearTerminal();
    });
    connect(menu, &QMenu::aboutToShow, this, &SessionMenu::refresh);
    connect(tabs, &QTabWidget::currentChanged, this, &SessionMenu::refresh);
    refresh();
}

GameScreen* SessionMenu::current() const
{
    return qobject_cast<GameScreen*>(tabs->currentWidget());
}

void SessionMenu::refresh()
{
    GameScreen* screen = current();
    for (QAction* action : {reconnect, logToFile, timestamps, freeze, clear})
        action->setEnabled(screen != nullptr);
    TerminalWidget* terminal = screen ? screen->getTerminal() : nullptr;
    logToFile->setText(terminal && terminal->getLogging() ? kStopLogging : kLogToFile);
    timestamps->setChecked(terminal && terminal->getTimestamps());
    freeze->setChecked(terminal && terminal->isFrozen());
}

void SessionMenu::onLogToFile()
{
    GameScreen* screen = current();
    if (!screen)
        return;
    TerminalWidget* terminal = screen->getTerminal();
    if (terminal->getLogging()) {
        terminal->setLogging(false, QString());
        refresh();
        return;
    }
    const QString suggested = QDir::home().filePath(screen->getSession()->getCharacter().name + ".log");
    const QString path =
        QFileDialog::getSaveFileName(tabs->window(), QStringLiteral("Log to File"), suggested,
                                     QStringLiteral("Log files (*.log *.txt);;All files (*)"));
    if (path.isEmpty())
        return;
    terminal->setLogging(true, path);
    if (!terminal->getLogging())
        QMessageBox::warning(tabs->window(), QStringLiteral("Log to File"),
                             QStringLiteral("Could not open %1 for writing.").arg(path));
    refresh();
}
