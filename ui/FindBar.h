#pragma once

#include <QList>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class TerminalWidget;

// The bar under the output that searches it: a field, "< Prev", "Next >" and
// a close button. Hidden until opened; closing drops the highlights. It says
// so when the text matches nothing, rather than leaving old highlights up.
class FindBar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FindBar)

public:
    FindBar(TerminalWidget* terminal, QWidget* parent);

    void open();
    void dismiss();
    QList<QWidget*> focusOrder() const;

signals:
    // The bar was closed; the screen gives the focus back to the input line.
    void closed();

private:
    void onTextChanged(const QString& text);
    void findNext(bool forward);
    void showMessage(const QString& message);

    TerminalWidget* terminal;
    QLineEdit* field = nullptr;
    QPushButton* prevButton = nullptr;
    QPushButton* nextButton = nullptr;
    QPushButton* closeButton = nullptr;
    QLabel* message = nullptr;
};
