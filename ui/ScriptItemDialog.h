#pragma once

#include <QDialog>
#include <QMap>

#include "storage/Scripts.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

// The modal form for one alias, trigger, timer, variable or key binding. The
// editor fills it with a set… call and reads a new record with the matching
// get… call after acceptance. A command field holds either a command list or
// one Lua function call, written as "lua:name(arg)" or "lua:name".
class ScriptItemDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ScriptItemDialog)

public:
    enum Kind { AliasKind = 0, TriggerKind = 1, TimerKind = 2, VariableKind = 3, KeyBindingKind = 4 };
    enum CommandMode { CommandListMode = 0, LuaFunctionMode = 1 };

    explicit ScriptItemDialog(Kind kind, QWidget* parent = nullptr);

    // The word a timer's type is shown as, here and in the editor's table.
    static QString timerTypeLabel(TimerType type);

    // Lets a trigger's highlight and its colour be set; otherwise the form
    // leaves them as they came.
    void setHighlightEditable(bool editable);

    void setAlias(const Alias& alias);
    Alias getAlias() const;
    void setTrigger(const Trigger& trigger);
    Trigger getTrigger() const;
    void setTimer(const Timer& timer);
    Timer getTimer() const;
    void setVariable(const Variable& variable);
    Variable getVariable() const;
    void setKeyBinding(const KeyBinding& binding);
    KeyBinding getKeyBinding() const;

    void showRelevantFields();

private slots:
    void onCommandModeChanged(int mode);
    void onHighlightColorClicked();
    void onHighlightColorChosen(const QColor& color);

private:
    void setupUi();
    void setupItemRows();
    void setupCommandRows();
    void setupHighlightRow();
    void addRow(const QString& label, QWidget* field, QWidget* labelled = nullptr);
    void connectSignals();
    void setRowVisible(QWidget* field, bool visible);
    void loadCommands(const QString& commands);
    QString buildCommands() const;
    void showHighlightColor(const QString& color);

    Kind kind;
    bool highlightEditable = false;
    // The highlight settings are kept from the trigger being edited so that
    // saving does not reset what the form does not show.
    Trigger editedTrigger;

    QLineEdit* nameEdit = nullptr;
    QLineEdit* groupEdit = nullptr;
    QLineEdit* aliasEdit = nullptr;
    QWidget* patternRow = nullptr;
    QLineEdit* patternEdit = nullptr;
    QCheckBox* regexCheck = nullptr;
    QSpinBox* intervalSpin = nullptr;
    QComboBox* timerTypeCombo = nullptr;
    QPlainTextEdit* valueEdit = nullptr;
    QLineEdit* keySequenceEdit = nullptr;
    QComboBox* commandModeCombo = nullptr;
    QPlainTextEdit* commandsEdit = nullptr;
    QLineEdit* functionEdit = nullptr;
    QLineEdit* argEdit = nullptr;
    QWidget* highlightRow = nullptr;
    QCheckBox* highlightCheck = nullptr;
    QPushButton* highlightColorButton = nullptr;
    QCheckBox* enabledCheck = nullptr;
    QFormLayout* form = nullptr;
    QMap<QWidget*, QLabel*> rowLabels;
};
