#pragma once

#include <QWidget>

class QLineEdit;
class TerminalWidget;

// The bar under the output that searches it: a field, "< Prev", "Next >" and
// a close button. Hidden until opened; closing drops the highlights.
class FindBar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FindBar)

public:
    FindBar(TerminalWidget* terminal, QWidget* parent);

    void open();
    void dismiss();

signals:
    // The bar was closed; the screen gives the focus back to the input line.
    void closed();

private:
    void onTextChanged(const QString& text);
    void findNext(bool forward);

    TerminalWidget* terminal;
    QLineEdit* field = nullptr;
};
