#include "ui/CharacterDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QIntValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"

namespace {

constexpr int kMaxPort = 65535;

QLineEdit* makeField(const QString& accessibleName, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setAccessibleName(accessibleName);
    return field;
}

} // namespace

CharacterDialog::CharacterDialog(QWidget* parent)
    : QDialog(parent)
{
    setupUi();
}

void CharacterDialog::setupUi()
{
    setWindowTitle(QStringLiteral("Character"));
    setMinimumWidth(400);

    nameEdit = makeField(tr("Character name"), this);
    hostEdit = makeField(tr("Host"), this);
    portEdit = makeField(tr("Port"), this);
    portEdit->setPlaceholderText(QStringLiteral("e.g., 8500"));
    // Typing is kept to digits; text set from code is read as-is.
    portEdit->setValidator(new QIntValidator(0, kMaxPort, portEdit));
    mudNameEdit = makeField(tr("MUD name"), this);
    mudNameEdit->setPlaceholderText(QStringLiteral("e.g., Olvex"));
    passwordEdit = makeField(tr("Password"), this);
    passwordEdit->setEchoMode(QLineEdit::Password);

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(12);
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(QStringLiteral("Name:"), nameEdit);
    form->addRow(QStringLiteral("Host:"), hostEdit);
    form->addRow(QStringLiteral("Port:"), portEdit);
    form->addRow(QStringLiteral("MUD Name:"), mudNameEdit);
    form->addRow(QStringLiteral("Password:"), passwordEdit);

    auto* buttons = DialogButtons::okCancel(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 12);
    layout->setSpacing(14);
    layout->addLayout(form);
    layout->addWidget(buttons);

    nameEdit->setFocus();
}

void CharacterDialog::setCharacter(const Character& character)
{
    nameEdit->setText(character.name);
    hostEdit->setText(character.host);
    // A new character has no port yet: leave the field empty so its
    // placeholder shows instead of a "0" the player would have to delete.
    portEdit->setText(character.port > 0 ? QString::number(character.port) : QString());
    mudNameEdit->setText(character.mudName);
    passwordEdit->setText(character.password);
    nameEdit->setFocus();
}

Character CharacterDialog::getCharacter() const
{
    Character character;
    character.name = nameEdit->text();
    character.host = hostEdit->text();
    bool isNumber = false;
    const int port = portEdit->text().toInt(&isNumber, 10);
    character.port = isNumber ? port : 0;
    character.mudName = mudNameEdit->text();
    character.password = passwordEdit->text();
    return character;
}
