#pragma once

#include <QDialog>
#include <QKeySequence>

#include "storage/Scripts.h"

class QCheckBox;
class QKeySequenceEdit;
class QLineEdit;
class QPlainTextEdit;

// Edits one key binding: its name, the key sequence (recorded by pressing
// it), the commands it runs and whether it is on. The group is not shown and
// is kept as it came.
class KeyBindingDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(KeyBindingDialog)

public:
    explicit KeyBindingDialog(QWidget* parent = nullptr);

    void setKeyBinding(const KeyBinding& binding);
    KeyBinding getKeyBinding() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    KeyBinding editedBinding;
    QKeySequence loadedSequence;
    QLineEdit* nameEdit = nullptr;
    QKeySequenceEdit* keyEdit = nullptr;
    QPlainTextEdit* commandsEdit = nullptr;
    QCheckBox* enabledCheck = nullptr;
};
