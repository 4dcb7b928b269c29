#include "ui/FormTextEdit.h"

#include <QKeyEvent>

FormTextEdit::FormTextEdit(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setTabChangesFocus(true);
}

void FormTextEdit::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Tab && event->modifiers() == Qt::ControlModifier) {
        insertPlainText(QStringLiteral("\t"));
        event->accept();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}
