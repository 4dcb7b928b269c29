#include "ui/ScriptRecordForms.h"

#include <QDialog>

#include "ui/KeyBindingDialog.h"
#include "ui/QuickActionDialog.h"
#include "ui/ScriptItemDialog.h"

namespace {

template <typename Record>
bool runItemDialog(QWidget* parent, ScriptItemDialog::Kind kind, Record& record,
                   void (ScriptItemDialog::*load)(const Record&), Record (ScriptItemDialog::*read)() const,
                   bool highlightEditable = false)
{
    ScriptItemDialog dialog(kind, parent);
    dialog.setHighlightEditable(highlightEditable);
    (dialog.*load)(record);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    record = (dialog.*read)();
    return true;
}

} // namespace

bool ScriptRecordForms::edit(QWidget* parent, Alias& alias, bool)
{
    return runItemDialog(parent, ScriptItemDialog::AliasKind, alias, &ScriptItemDialog::setAlias,
                         &ScriptItemDialog::getAlias);
}

bool ScriptRecordForms::edit(QWidget* parent, Trigger& trigger, bool conveniences)
{
    return runItemDialog(parent, ScriptItemDialog::TriggerKind, trigger, &ScriptItemDialog::setTrigger,
                         &ScriptItemDialog::getTrigger, conveniences);
}

bool ScriptRecordForms::edit(QWidget* parent, Timer& timer, bool)
{
    return runItemDialog(parent, ScriptItemDialog::TimerKind, timer, &ScriptItemDialog::setTimer,
                         &ScriptItemDialog::getTimer);
}

bool ScriptRecordForms::edit(QWidget* parent, Variable& variable, bool)
{
    return runItemDialog(parent, ScriptItemDialog::VariableKind, variable, &ScriptItemDialog::setVariable,
                         &ScriptItemDialog::getVariable);
}

bool ScriptRecordForms::edit(QWidget* parent, QuickAction& action, bool)
{
    QuickActionDialog dialog(parent);
    dialog.setQuickAction(action);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    action = dialog.getQuickAction();
    return true;
}

bool ScriptRecordForms::edit(QWidget* parent, KeyBinding& binding, bool)
{
    KeyBindingDialog dialog(parent);
    dialog.setKeyBinding(binding);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    binding = dialog.getKeyBinding();
    return true;
}

bool ScriptRecordForms::create(QWidget*, QuickAction& action, bool)
{
    action = {QStringLiteral("New Action"), QStringLiteral("command"), true};
    return true;
}
