#pragma once

#include <QLineEdit>
#include <QStringList>

class CommandHistory;

// The line the player types commands into. Return sends the line; Up and Down
// browse the history; PageUp and PageDown (without modifiers) scroll the
// output; Tab never takes the focus away from a half-typed line; a paste of
// several lines sends each line on its own.
class CommandInput final : public QLineEdit {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CommandInput)

public:
    explicit CommandInput(QWidget* parent);

    void setHistory(CommandHistory* commandHistory) { history = commandHistory; }
    // Clears the line and emits it as one command (Return, the Send button).
    void submit();

signals:
    // One command to send, in the order typed or pasted.
    void submitted(const QString& line);
    // Plain PageUp (up = true) or PageDown.
    void pageRequested(bool up);
    // Tab on a non-empty line; the screen may complete the word at the cursor.
    void completionRequested();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    // Returns false when the clipboard holds a single line, left to QLineEdit.
    bool pasteLines();

    CommandHistory* history = nullptr;
};
