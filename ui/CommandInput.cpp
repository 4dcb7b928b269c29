#include "ui/CommandInput.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QRegularExpression>

#include "session/CommandHistory.h"

CommandInput::CommandInput(QWidget* parent)
    : QLineEdit(parent)
{
    connect(this, &QLineEdit::returnPressed, this, &CommandInput::submit);
}

void CommandInput::submit()
{
    const QString line = text();
    clear();
    emit submitted(line);
}

bool CommandInput::event(QEvent* event)
{
    // Tab would move the focus on before keyPressEvent sees it, and the next
    // key typed would land elsewhere. On a half-typed line it stays here; on
    // an empty one it walks the controls as everywhere else.
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab && key->modifiers() == Qt::NoModifier && !text().isEmpty()) {
            emit completionRequested();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void CommandInput::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (event->matches(QKeySequence::Paste) && pasteLines())
        return;
    const bool up = event->key() == Qt::Key_Up || event->key() == Qt::Key_PageUp;
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
        if (history) {
            const std::optional<QString> entry = up ? history->older(text()) : history->newer();
            if (entry)
                setText(*entry);
        }
        return;
    }
    // Only the plain keys scroll: Ctrl+PageUp and friends belong to the
    // session tabs and the window.
    if ((event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown) && modifiers == Qt::NoModifier) {
        emit pageRequested(up);
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void CommandInput::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (QAction* action : menu->actions()) {
        if (action->objectName() != QLatin1String("edit-paste"))
            continue;
        // The menu's Paste splits lines like Ctrl+V does.
        disconnect(action, &QAction::triggered, nullptr, nullptr);
        connect(action, &QAction::triggered, this, [this] {
            if (!pasteLines())
                paste();
        });
    }
    menu->popup(event->globalPos());
}

bool CommandInput::pasteLines()
{
    const QString pasted = QGuiApplication::clipboard()->text();
    static const QRegularExpression lineBreak(QStringLiteral("\r\n|\r|\n"));
    if (!pasted.contains(lineBreak))
        return false;
    // The pasted text replaces the selection; what was typed around it
    // becomes part of the first and last lines.
    QString whole = text();
    const int from = hasSelectedText() ? selectionStart() : cursorPosition();
    const int length = hasSelectedText() ? int(selectedText().size()) : 0;
    whole.replace(from, length, pasted);
    QStringList lines = whole.split(lineBreak);
    if (lines.last().isEmpty())
        lines.removeLast(); // the line break that ends the last line
    clear();
    for (const QString& line : lines)
        emit submitted(line);
    return true;
}
