#include "ui/QuickActionDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"

QuickActionDialog::QuickActionDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Quick Action"));
    setMinimumWidth(400);
    label = new QLineEdit(this);
    command = new QLineEdit(this);
    command->setPlaceholderText(QStringLiteral("Command to send"));
    enabled = new QCheckBox(QStringLiteral("Enabled"), this);
    enabled->setChecked(true);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Label:"), label);
    form->addRow(QStringLiteral("Command:"), command);
    form->addRow(QString(), enabled);
    auto* buttons = DialogButtons::okCancel(this);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void QuickActionDialog::setQuickAction(const QuickAction& action)
{
    label->setText(action.label);
    command->setText(action.command);
    enabled->setChecked(action.enabled);
}

QuickAction QuickActionDialog::getQuickAction() const
{
    return {label->text(), command->text(), enabled->isChecked()};
}
