#include "ui/KeyBindingDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QKeySequenceEdit>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"
#include "ui/FormTextEdit.h"

KeyBindingDialog::KeyBindingDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Key Binding"));
    setMinimumWidth(420);
    nameEdit = new QLineEdit(this);
    nameEdit->setAccessibleName(tr("Name"));
    keyEdit = new QKeySequenceEdit(this);
    keyEdit->setAccessibleName(tr("Key sequence"));
    keyEdit->setToolTip(tr("Press the keys to bind"));
    keyEdit->installEventFilter(this);
    commandsEdit = new FormTextEdit(this);
    commandsEdit->setPlaceholderText(tr("Commands to execute"));
    commandsEdit->setAccessibleName(tr("Commands"));
    enabledCheck = new QCheckBox(tr("Enabled"), this);
    enabledCheck->setChecked(true);

    auto* form = new QFormLayout;
    form->addRow(tr("Name:"), nameEdit);
    form->addRow(tr("Key Sequence:"), keyEdit);
    form->addRow(tr("Commands:"), commandsEdit);
    form->addRow(enabledCheck);
    auto* buttons = DialogButtons::okCancel(this);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void KeyBindingDialog::setKeyBinding(const KeyBinding& binding)
{
    editedBinding = binding;
    nameEdit->setText(binding.name);
    loadedSequence = QKeySequence(binding.keySequence, QKeySequence::PortableText);
    keyEdit->setKeySequence(loadedSequence);
    commandsEdit->setPlainText(binding.commands);
    enabledCheck->setChecked(binding.enabled);
}

// The stored text changes only when the player records keys: a sequence the
// recorder cannot show (written by hand in the settings file) survives an
// edit of the commands.
KeyBinding KeyBindingDialog::getKeyBinding() const
{
    KeyBinding binding = editedBinding;
    binding.name = nameEdit->text();
    if (keyEdit->keySequence() != loadedSequence)
        binding.keySequence = keyEdit->keySequence().toString(QKeySequence::PortableText);
    binding.commands = commandsEdit->toPlainText();
    binding.enabled = enabledCheck->isChecked();
    return binding;
}

// The recorder would take Tab as a key to bind, trapping a keyboard user in
// it; plain Tab and Shift+Tab move on instead (Ctrl+Tab can still be bound).
bool KeyBindingDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == keyEdit && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = (key->modifiers() & ~Qt::ShiftModifier) == Qt::NoModifier;
        if (plain && (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab)) {
            focusNextPrevChild(key->key() == Qt::Key_Tab && key->modifiers() == Qt::NoModifier);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}
