#pragma once

#include <QPlainTextEdit>

// A multi-line field inside a form (commands, a variable's value). Tab moves
// on to the next control like in every other field, so a keyboard user can
// reach the buttons below; Ctrl+Tab types a tab character where one is wanted.
class FormTextEdit final : public QPlainTextEdit {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FormTextEdit)

public:
    explicit FormTextEdit(QWidget* parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
