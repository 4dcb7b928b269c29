#include "ui/FindBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextCursor>

#include "terminal/TerminalWidget.h"

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
    auto* prev = new QPushButton(QStringLiteral("< Prev"), this);
    auto* next = new QPushButton(QStringLiteral("Next >"), this);
    auto* close = new QPushButton(QStringLiteral("✕"), this);
    prev->setMaximumWidth(60);
    next->setMaximumWidth(60);
    close->setMaximumWidth(30);
    close->setAccessibleName(tr("Close search"));

    row->addWidget(new QLabel(QStringLiteral("Find:"), this));
    row->addWidget(field);
    row->addWidget(prev);
    row->addWidget(next);
    row->addWidget(close);
    row->addStretch(1);
    hide();

    connect(field, &QLineEdit::textChanged, this, &FindBar::onTextChanged);
    connect(field, &QLineEdit::returnPressed, this, [this] { findNext(true); });
    connect(next, &QPushButton::clicked, this, [this] { findNext(true); });
    connect(prev, &QPushButton::clicked, this, [this] { findNext(false); });
    connect(close, &QPushButton::clicked, this, &FindBar::dismiss);
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

void FindBar::onTextChanged(const QString& text)
{
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
    if (!terminal->findInOutput(text, true, false, false))
        terminal->verticalScrollBar()->setValue(scrollPosition);
}

void FindBar::findNext(bool forward)
{
    terminal->findInOutput(field->text(), forward, false, false);
}
