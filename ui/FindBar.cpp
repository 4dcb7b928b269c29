#include "ui/FindBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextCursor>

#include "terminal/TerminalWidget.h"
#include "ui/Theme.h"

FindBar::FindBar(TerminalWidget* terminal, QWidget* parent)
    : QWidget(parent)
    , terminal(terminal)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);

    field = new QLineEdit(this);
    field->setMaximumWidth(200);
    field->setPlaceholderText(QStringLiteral("Search output..."));
    field->setAccessibleName(tr("Search output"));
    prevButton = new QPushButton(QStringLiteral("< Prev"), this);
    nextButton = new QPushButton(QStringLiteral("Next >"), this);
    closeButton = new QPushButton(QStringLiteral("✕"), this);
    closeButton->setAccessibleName(tr("Close search"));
    closeButton->setToolTip(tr("Close search"));
    closeButton->setStyleSheet(Theme::compactButtonStyleSheet());
    // The buttons keep the width their text needs: a fixed pixel width cut
    // the labels off under the application's padding.
    for (QPushButton* button : {prevButton, nextButton, closeButton}) {
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        button->setAutoDefault(false);
    }
    message = new QLabel(this);
    message->setStyleSheet(Theme::findMessageStyleSheet());
    message->hide();

    row->addWidget(new QLabel(QStringLiteral("Find:"), this));
    row->addWidget(field);
    row->addWidget(prevButton);
    row->addWidget(nextButton);
    row->addWidget(closeButton);
    row->addWidget(message);
    row->addStretch(1);
    hide();

    connect(field, &QLineEdit::textChanged, this, &FindBar::onTextChanged);
    connect(field, &QLineEdit::returnPressed, this, [this] { findNext(true); });
    connect(nextButton, &QPushButton::clicked, this, [this] { findNext(true); });
    connect(prevButton, &QPushButton::clicked, this, [this] { findNext(false); });
    connect(closeButton, &QPushButton::clicked, this, &FindBar::dismiss);
}

void FindBar::open()
{
    show();
    field->setFocus();
    field->selectAll();
}

void FindBar::dismiss()
{
    hide();
    terminal->clearFindHighlights();
    emit closed();
}

QList<QWidget*> FindBar::focusOrder() const
{
    return {field, prevButton, nextButton, closeButton};
}

void FindBar::onTextChanged(const QString& text)
{
    showMessage(QString());
    if (text.isEmpty()) {
        terminal->clearFindHighlights();
        return;
    }
    // Appending keeps the output's own cursor at the end, from where a forward
    // search finds nothing. Search from the match being refined, or from the
    // top, and leave the view where it was when nothing matches.
    const int scrollPosition = terminal->verticalScrollBar()->value();
    QTextCursor from = terminal->textCursor();
    if (from.hasSelection())
        from.setPosition(from.selectionStart());
    else
        from.movePosition(QTextCursor::Start);
    terminal->setTextCursor(from);
    if (!terminal->findInOutput(text, true, false, false)) {
        // The highlights belong to a text that is no longer in the field.
        terminal->clearFindHighlights();
        terminal->verticalScrollBar()->setValue(scrollPosition);
        showMessage(tr("Not found"));
    }
}

void FindBar::findNext(bool forward)
{
    if (field->text().isEmpty())
        return;
    // At the last match the highlights stay; the message tells why nothing moved.
    const bool found = terminal->findInOutput(field->text(), forward, false, false);
    showMessage(found ? QString() : tr("No more matches"));
}

void FindBar::showMessage(const QString& text)
{
    message->setText(text);
    message->setVisible(!text.isEmpty());
}
