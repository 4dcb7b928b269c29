#include "ui/ScriptItemDialog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpression>
#include <QSpinBox>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"
#include "ui/FormTextEdit.h"

namespace {

const QString kLuaPrefix = QStringLiteral("lua:");
constexpr int kRepeatIndex = 0;
constexpr int kOnceIndex = 1;

QString kindTitle(ScriptItemDialog::Kind kind)
{
    switch (kind) {
    case ScriptItemDialog::AliasKind:
        return QStringLiteral("Alias");
    case ScriptItemDialog::TriggerKind:
        return QStringLiteral("Trigger");
    case ScriptItemDialog::TimerKind:
        return QStringLiteral("Timer");
    case ScriptItemDialog::VariableKind:
        return QStringLiteral("Variable");
    case ScriptItemDialog::KeyBindingKind:
        return QStringLiteral("Key Binding");
    }
    return QString();
}

// A row's label without its colon is what a screen reader calls the field.
QString spokenName(const QString& label)
{
    return label.endsWith(QLatin1Char(':')) ? label.chopped(1) : label;
}

} // namespace

ScriptItemDialog::ScriptItemDialog(Kind kind, QWidget* parent)
    : QDialog(parent)
    , kind(kind)
{
    setWindowTitle(kindTitle(kind));
    setMinimumSize(500, 300);
    setupUi();
    connectSignals();
    showRelevantFields();
}

QString ScriptItemDialog::timerTypeLabel(TimerType type)
{
    return type == TimerType::Once ? QStringLiteral("Once") : QStringLiteral("Repeat");
}

void ScriptItemDialog::setupUi()
{
    auto* layout = new QVBoxLayout(this);
    form = new QFormLayout;
    layout->addLayout(form);
    setupItemRows();
    setupCommandRows();
    setupHighlightRow();

    enabledCheck = new QCheckBox(tr("Enabled"), this);
    enabledCheck->setChecked(true);
    form->addRow(enabledCheck);

    auto* buttons = DialogButtons::okCancel(this);
    layout->addWidget(buttons);
}

// `labelled` is the control the label speaks for when the field is a row of several.
void ScriptItemDialog::addRow(const QString& label, QWidget* field, QWidget* labelled)
{
    QWidget* target = labelled ? labelled : field;
    auto* labelWidget = new QLabel(label, this);
    labelWidget->setBuddy(target);
    // The label finds its control only when both share a parent; naming the
    // control itself also covers the ones inside a row.
    target->setAccessibleName(spokenName(label));
    form->addRow(labelWidget, field);
    rowLabels.insert(field, labelWidget);
}

void ScriptItemDialog::setupItemRows()
{
    nameEdit = new QLineEdit(this);
    addRow(tr("Name:"), nameEdit);
    groupEdit = new QLineEdit(this);
    groupEdit->setPlaceholderText(tr("Optional - leave blank for ungrouped"));
    addRow(tr("Group:"), groupEdit);

    aliasEdit = new QLineEdit(this);
    addRow(tr("Alias Text:"), aliasEdit);

    patternRow = new QWidget(this);
    auto* patternLayout = new QHBoxLayout(patternRow);
    patternLayout->setContentsMargins(0, 0, 0, 0);
    patternEdit = new QLineEdit(patternRow);
    patternEdit->setPlaceholderText(tr("Text pattern to match"));
    regexCheck = new QCheckBox(tr("Use Regular Expression"), patternRow);
    patternLayout->addWidget(patternEdit, 1);
    patternLayout->addWidget(regexCheck);
    addRow(tr("Pattern:"), patternRow, patternEdit);

    intervalSpin = new QSpinBox(this);
    intervalSpin->setRange(100, 3600000);
    intervalSpin->setSuffix(QStringLiteral(" ms"));
    addRow(tr("Interval:"), intervalSpin);
    timerTypeCombo = new QComboBox(this);
    timerTypeCombo->insertItem(kRepeatIndex, timerTypeLabel(TimerType::Repeat));
    timerTypeCombo->insertItem(kOnceIndex, timerTypeLabel(TimerType::Once));
    addRow(tr("Type:"), timerTypeCombo);

    valueEdit = new FormTextEdit(this);
    valueEdit->setPlaceholderText(tr("Variable value"));
    addRow(tr("Value:"), valueEdit);

    keySequenceEdit = new QLineEdit(this);
    keySequenceEdit->setPlaceholderText(tr("e.g., F1, Ctrl+F1, Shift+F5"));
    addRow(tr("Key Sequence:"), keySequenceEdit);
}

void ScriptItemDialog::setupCommandRows()
{
    commandModeCombo = new QComboBox(this);
    commandModeCombo->insertItem(CommandListMode, tr("TinTin Commands"));
    commandModeCombo->insertItem(LuaFunctionMode, tr("Lua Function"));
    addRow(tr("Command Mode:"), commandModeCombo);
    commandsEdit = new FormTextEdit(this);
    commandsEdit->setPlaceholderText(tr("Commands to execute"));
    addRow(tr("Commands:"), commandsEdit);
    functionEdit = new QLineEdit(this);
    addRow(tr("Function:"), functionEdit);
    argEdit = new QLineEdit(this);
    argEdit->setPlaceholderText(tr("Optional - leave blank to pass trigger match"));
    addRow(tr("Arg:"), argEdit);
}

void ScriptItemDialog::setupHighlightRow()
{
    highlightRow = new QWidget(this);
    auto* rowLayout = new QHBoxLayout(highlightRow);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    highlightCheck = new QCheckBox(tr("Highlight matching lines"), highlightRow);
    highlightColorButton = new QPushButton(highlightRow);
    highlightColorButton->setAutoDefault(false);
    highlightColorButton->setAccessibleName(tr("Highlight colour"));
    highlightColorButton->setToolTip(tr("Choose the colour of highlighted lines"));
    rowLayout->addWidget(highlightCheck);
    rowLayout->addWidget(highlightColorButton);
    rowLayout->addStretch(1);
    addRow(tr("Highlight:"), highlightRow, highlightCheck);
    highlightCheck->setAccessibleName(highlightCheck->text());
    showHighlightColor(editedTrigger.highlightColor);
}

void ScriptItemDialog::connectSignals()
{
    connect(commandModeCombo, &QComboBox::currentIndexChanged, this, &ScriptItemDialog::onCommandModeChanged);
    connect(highlightColorButton, &QPushButton::clicked, this, &ScriptItemDialog::onHighlightColorClicked);
}

void ScriptItemDialog::setRowVisible(QWidget* field, bool visible)
{
    field->setVisible(visible);
    if (QLabel* label = rowLabels.value(field))
        label->setVisible(visible);
}

void ScriptItemDialog::showRelevantFields()
{
    const bool hasCommandMode = kind == AliasKind || kind == TriggerKind || kind == TimerKind;
    const bool luaMode = hasCommandMode && commandModeCombo->currentIndex() == LuaFunctionMode;

    setRowVisible(aliasEdit, kind == AliasKind);
    setRowVisible(patternRow, kind == TriggerKind);
    setRowVisible(intervalSpin, kind == TimerKind);
    setRowVisible(timerTypeCombo, kind == TimerKind);
    setRowVisible(valueEdit, kind == VariableKind);
    setRowVisible(keySequenceEdit, kind == KeyBindingKind);
    setRowVisible(commandModeCombo, hasCommandMode);
    setRowVisible(commandsEdit, (hasCommandMode && !luaMode) || kind == KeyBindingKind);
    setRowVisible(functionEdit, luaMode);
    setRowVisible(argEdit, luaMode);
    setRowVisible(highlightRow, kind == TriggerKind && highlightEditable);
}

void ScriptItemDialog::setHighlightEditable(bool editable)
{
    highlightEditable = editable;
    showRelevantFields();
}

void ScriptItemDialog::onCommandModeChanged(int)
{
    showRelevantFields();
}

void ScriptItemDialog::onHighlightColorClicked()
{
    // Opened window-modal rather than through the static getter, so the form
    // stays responsive to its own event loop and the choice arrives as a signal.
    auto* dialog = new QColorDialog(QColor(editedTrigger.highlightColor), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Highlight Colour"));
    connect(dialog, &QColorDialog::colorSelected, this, &ScriptItemDialog::onHighlightColorChosen);
    dialog->open();
}

void ScriptItemDialog::onHighlightColorChosen(const QColor& color)
{
    if (!color.isValid())
        return;
    // Stored the way the defaults are written: "#RRGGBB" in capitals.
    editedTrigger.highlightColor = color.name().toUpper();
    showHighlightColor(editedTrigger.highlightColor);
}

void ScriptItemDialog::showHighlightColor(const QString& color)
{
    QPixmap swatch(16, 16);
    swatch.fill(QColor(color));
    highlightColorButton->setIcon(swatch);
    highlightColorButton->setText(color);
    highlightColorButton->setAccessibleDescription(color);
}

void ScriptItemDialog::loadCommands(const QString& commands)
{
    functionEdit->clear();
    argEdit->clear();
    commandsEdit->clear();
    if (commands.startsWith(kLuaPrefix)) {
        commandModeCombo->setCurrentIndex(LuaFunctionMode);
        static const QRegularExpression call(QStringLiteral("^(\\w+)(?:\\((.*)\\))?$"));
        const QRegularExpressionMatch match = call.match(commands.mid(kLuaPrefix.size()).trimmed());
        if (match.hasMatch()) {
            functionEdit->setText(match.captured(1));
            argEdit->setText(match.captured(2));
        }
    } else {
        commandModeCombo->setCurrentIndex(CommandListMode);
        commandsEdit->setPlainText(commands);
    }
}

QString ScriptItemDialog::buildCommands() const
{
    if (commandModeCombo->currentIndex() != LuaFunctionMode)
        return commandsEdit->toPlainText();
    // A stray space around the name would make the call fail to match when run.
    const QString function = functionEdit->text().trimmed();
    const QString arg = argEdit->text();
    return arg.isEmpty() ? kLuaPrefix + function : QStringLiteral("lua:%1(%2)").arg(function, arg);
}

void ScriptItemDialog::setAlias(const Alias& alias)
{
    nameEdit->setText(alias.name);
    groupEdit->setText(alias.group);
    aliasEdit->setText(alias.alias);
    loadCommands(alias.commands);
    enabledCheck->setChecked(alias.enabled);
}

Alias ScriptItemDialog::getAlias() const
{
    Alias alias;
    alias.name = nameEdit->text();
    alias.group = groupEdit->text();
    alias.alias = aliasEdit->text();
    alias.commands = buildCommands();
    alias.enabled = enabledCheck->isChecked();
    return alias;
}

void ScriptItemDialog::setTrigger(const Trigger& trigger)
{
    editedTrigger = trigger;
    nameEdit->setText(trigger.name);
    groupEdit->setText(trigger.group);
    patternEdit->setText(trigger.pattern);
    regexCheck->setChecked(trigger.regex);
    highlightCheck->setChecked(trigger.highlight);
    showHighlightColor(trigger.highlightColor);
    loadCommands(trigger.commands);
    enabledCheck->setChecked(trigger.enabled);
}

Trigger ScriptItemDialog::getTrigger() const
{
    Trigger trigger = editedTrigger;
    trigger.name = nameEdit->text();
    trigger.group = groupEdit->text();
    trigger.pattern = patternEdit->text();
    trigger.regex = regexCheck->isChecked();
    trigger.commands = buildCommands();
    trigger.enabled = enabledCheck->isChecked();
    if (highlightEditable)
        trigger.highlight = highlightCheck->isChecked();
    return trigger;
}

void ScriptItemDialog::setTimer(const Timer& timer)
{
    nameEdit->setText(timer.name);
    groupEdit->setText(timer.group);
    intervalSpin->setValue(timer.intervalMs);
    timerTypeCombo->setCurrentIndex(timer.kind() == TimerType::Once ? kOnceIndex : kRepeatIndex);
    loadCommands(timer.commands);
    enabledCheck->setChecked(timer.enabled);
}

Timer ScriptItemDialog::getTimer() const
{
    Timer timer;
    timer.name = nameEdit->text();
    timer.group = groupEdit->text();
    timer.intervalMs = intervalSpin->value();
    timer.type =
        timerTypeText(timerTypeCombo->currentIndex() == kOnceIndex ? TimerType::Once : TimerType::Repeat);
    timer.commands = buildCommands();
    timer.enabled = enabledCheck->isChecked();
    return timer;
}

void ScriptItemDialog::setVariable(const Variable& variable)
{
    nameEdit->setText(variable.name);
    groupEdit->setText(variable.group);
    valueEdit->setPlainText(variable.value);
}

Variable ScriptItemDialog::getVariable() const
{
    Variable variable;
    variable.name = nameEdit->text();
    variable.group = groupEdit->text();
    variable.value = valueEdit->toPlainText();
    return variable;
}

void ScriptItemDialog::setKeyBinding(const KeyBinding& binding)
{
    nameEdit->setText(binding.name);
    groupEdit->setText(binding.group);
    keySequenceEdit->setText(binding.keySequence);
    commandsEdit->setPlainText(binding.commands);
    enabledCheck->setChecked(binding.enabled);
}

KeyBinding ScriptItemDialog::getKeyBinding() const
{
    KeyBinding binding;
    binding.name = nameEdit->text();
    binding.group = groupEdit->text();
    binding.keySequence = keySequenceEdit->text();
    binding.commands = commandsEdit->toPlainText();
    binding.enabled = enabledCheck->isChecked();
    return binding;
}
