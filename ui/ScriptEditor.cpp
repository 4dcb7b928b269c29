#include "ui/ScriptEditor.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "lua/LuaScriptTab.h"
#include "session/GameSession.h"
#include "ui/QuickActionDialog.h"
#include "ui/ScriptItemDialog.h"
#include "ui/Theme.h"

namespace {

const QString kAllGroups = QStringLiteral("All");

enum ItemKind { AliasKind = 0, TriggerKind = 1, TimerKind = 2, VariableKind = 3 };

QString shortened(const QString& text)
{
    return text.size() > ScriptEditor::kShownTextLength ? text.left(47) + QStringLiteral("...") : text;
}

QString groupCell(const QString& group)
{
    return group.isEmpty() ? QStringLiteral("(ungrouped)") : group;
}

QString enabledCell(bool enabled)
{
    return enabled ? QStringLiteral("✓") : QString();
}

QStringList cells(const Alias& a)
{
    return {a.name, a.alias, groupCell(a.group), enabledCell(a.enabled)};
}

QStringList cells(const Trigger& t)
{
    return {t.name, shortened(t.pattern), t.regex ? QStringLiteral("Yes") : QStringLiteral("No"),
            groupCell(t.group), enabledCell(t.enabled)};
}

QStringList cells(const Timer& t)
{
    return {t.name, QString::number(t.intervalMs),
            t.kind() == TimerType::Once ? QStringLiteral("Once") : QStringLiteral("Repeat"),
            groupCell(t.group), enabledCell(t.enabled)};
}

QStringList cells(const Variable& v)
{
    return {v.name, shortened(v.value), groupCell(v.group)};
}

QStringList cells(const QuickAction& q)
{
    return {q.label, q.command, enabledCell(q.enabled)};
}

template <typename Record>
void fillTable(QTableWidget* table, const QList<Record>& records, const QString& group = {})
{
    table->setRowCount(0);
    for (const Record& record : records) {
        if constexpr (!std::is_same_v<Record, QuickAction>) {
            if (!group.isEmpty() && record.group != group)
                continue;
        }
        const int row = table->rowCount();
        table->insertRow(row);
        const QStringList texts = cells(record);
        for (int column = 0; column < texts.size(); ++column)
            table->setItem(row, column, new QTableWidgetItem(texts[column]));
    }
}

void load(ScriptItemDialog& d, const Alias& r)
{
    d.setAlias(r);
}
void load(ScriptItemDialog& d, const Trigger& r)
{
    d.setTrigger(r);
}
void load(ScriptItemDialog& d, const Timer& r)
{
    d.setTimer(r);
}
void load(ScriptItemDialog& d, const Variable& r)
{
    d.setVariable(r);
}
void read(const ScriptItemDialog& d, Alias& r)
{
    r = d.getAlias();
}
void read(const ScriptItemDialog& d, Trigger& r)
{
    r = d.getTrigger();
}
void read(const ScriptItemDialog& d, Timer& r)
{
    r = d.getTimer();
}
void read(const ScriptItemDialog& d, Variable& r)
{
    r = d.getVariable();
}

template <typename Record> bool runItemDialog(QWidget* parent, int kind, Record& record)
{
    ScriptItemDialog dialog(kind, parent);
    load(dialog, record);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    read(dialog, record);
    return true;
}

template <typename Record> bool addRecord(QWidget* parent, int kind, QList<Record>& records)
{
    Record record;
    if (!runItemDialog(parent, kind, record))
        return false;
    records.append(record);
    return true;
}

// Rows are found by their name; with two equal names the first one is meant.
template <typename Record>
bool editRecord(QWidget* parent, int kind, QList<Record>& records, const std::optional<QString>& name)
{
    if (!name)
        return false;
    for (Record& record : records) {
        if (record.name == *name)
            return runItemDialog(parent, kind, record);
    }
    return false;
}

template <typename Record> bool removeRecord(QList<Record>& records, const std::optional<QString>& name)
{
    if (!name)
        return false;
    for (int i = 0; i < records.size(); ++i) {
        if (records[i].name == *name) {
            records.removeAt(i);
            return true;
        }
    }
    return false;
}

QString filterGroup(const QString& comboText)
{
    return comboText == kAllGroups ? QString() : comboText;
}

} // namespace

ScriptEditor::ScriptEditor(QWidget* parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Olvex — Scripts"));
    setStyleSheet(Theme::panelStyleSheet());
    resize(960, 620);
    tabs = new QTabWidget(this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);

    setupAliasTab();
    setupTriggerTab();
    setupTimerTab();
    setupVariableTab();
    setupQuickActionTab();
    setupLuaTab();
}

ScriptEditor::Page ScriptEditor::addRecordPage(const QString& title, const QStringList& headers,
                                               const std::function<void()>& onAdd,
                                               const std::function<void()>& onEdit,
                                               const std::function<void()>& onDelete,
                                               const std::function<void(const QString&)>& onGroupChanged)
{
    Page page;
    auto* widget = new QWidget(tabs);
    auto* layout = new QVBoxLayout(widget);

    if (onGroupChanged) {
        page.groupFilter = new QComboBox(widget);
        page.groupFilter->addItem(kAllGroups);
        page.groupFilter->setMinimumWidth(160);
        page.groupFilter->setAccessibleName(tr("Filter by group"));
        connect(page.groupFilter, &QComboBox::currentTextChanged, this, onGroupChanged);
        auto* filterRow = new QHBoxLayout;
        filterRow->addWidget(new QLabel(QStringLiteral("Filter by group:"), widget));
        filterRow->addWidget(page.groupFilter);
        filterRow->addStretch(1);
        layout->addLayout(filterRow);
    }

    page.table = new QTableWidget(0, headers.size(), widget);
    page.table->setHorizontalHeaderLabels(headers);
    // The text column (alias, pattern, value, command) gets the spare width.
    QHeaderView* header = page.table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(1, QHeaderView::Stretch);
    header->setMinimumSectionSize(80);
    page.table->verticalHeader()->hide();
    page.table->setSelectionBehavior(QAbstractItemView::SelectRows);
    page.table->setSelectionMode(QAbstractItemView::SingleSelection);
    page.table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    page.table->setAccessibleName(title);
    connect(page.table, &QTableWidget::cellDoubleClicked, this, [onEdit] { onEdit(); });
    layout->addWidget(page.table, 1);

    auto* buttons = new QHBoxLayout;
    for (const auto& [text, slot] :
         {std::pair{QStringLiteral("Add"), onAdd}, std::pair{QStringLiteral("Edit"), onEdit},
          std::pair{QStringLiteral("Delete"), onDelete}}) {
        auto* button = new QPushButton(text, widget);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    layout->addLayout(buttons);
    tabs->addTab(widget, title);
    return page;
}

void ScriptEditor::setupAliasTab()
{
    aliasPage = addRecordPage(
        QStringLiteral("Aliases"),
        {QStringLiteral("Name"), QStringLiteral("Alias"), QStringLiteral("Group"), QStringLiteral("Enabled")},
        [this] { onAliasAdd(); }, [this] { onAliasEdit(); }, [this] { onAliasDelete(); },
        [this](const QString& g) { onAliasGroupChanged(g); });
}

void ScriptEditor::setupTriggerTab()
{
    triggerPage = addRecordPage(
        QStringLiteral("Triggers"),
        {QStringLiteral("Name"), QStringLiteral("Pattern"), QStringLiteral("Regex"), QStringLiteral("Group"),
         QStringLiteral("Enabled")},
        [this] { onTriggerAdd(); }, [this] { onTriggerEdit(); }, [this] { onTriggerDelete(); },
        [this](const QString& g) { onTriggerGroupChanged(g); });
}

void ScriptEditor::setupTimerTab()
{
    timerPage = addRecordPage(
        QStringLiteral("Timers"),
        {QStringLiteral("Name"), QStringLiteral("Interval (ms)"), QStringLiteral("Type"),
         QStringLiteral("Group"), QStringLiteral("Enabled")},
        [this] { onTimerAdd(); }, [this] { onTimerEdit(); }, [this] { onTimerDelete(); },
        [this](const QString& g) { onTimerGroupChanged(g); });
}

void ScriptEditor::setupVariableTab()
{
    variablePage = addRecordPage(
        QStringLiteral("Variables"),
        {QStringLiteral("Name"), QStringLiteral("Value"), QStringLiteral("Group")},
        [this] { onVariableAdd(); }, [this] { onVariableEdit(); }, [this] { onVariableDelete(); },
        [this](const QString& g) { onVariableGroupChanged(g); });
}

void ScriptEditor::setupQuickActionTab()
{
    quickActionPage = addRecordPage(
        QStringLiteral("Quick Actions"),
        {QStringLiteral("Label"), QStringLiteral("Command"), QStringLiteral("Enabled")},
        [this] { onQuickActionAdd(); }, [this] { onQuickActionEdit(); }, [this] { onQuickActionDelete(); },
        {});
}

void ScriptEditor::setupLuaTab()
{
    luaTab = new LuaScriptTab(tabs);
    connect(luaTab, &LuaScriptTab::modulesChanged, this, &ScriptEditor::emitScriptsChanged);
    tabs->addTab(luaTab, QStringLiteral("Lua Scripts"));
}

void ScriptEditor::setSession(GameSession* newSession)
{
    session = newSession;
}

void ScriptEditor::setScripts(const Scripts& newScripts)
{
    scripts = newScripts;
    refreshGroupFilters();
    populateAliasTable({});
    populateTriggerTable({});
    populateTimerTable({});
    populateVariableTable({});
    populateQuickActionTable();
    luaTab->setModules(scripts.luaModules, session ? session->getScriptDir() : QString());
}

Scripts ScriptEditor::getScripts() const
{
    Scripts copy = scripts;
    copy.luaModules = luaTab->getModules();
    return copy;
}

QStringList ScriptEditor::getAllGroups(const Scripts& source) const
{
    QSet<QString> groups;
    auto collect = [&groups](const auto& records) {
        for (const auto& record : records) {
            if (!record.group.isEmpty())
                groups.insert(record.group);
        }
    };
    collect(source.aliases);
    collect(source.triggers);
    collect(source.timers);
    collect(source.variables);
    QStringList sorted(groups.cbegin(), groups.cend());
    sorted.sort(Qt::CaseInsensitive);
    return sorted;
}

void ScriptEditor::refreshGroupFilters()
{
    const QStringList groups = getAllGroups(scripts);
    for (QComboBox* combo :
         {aliasPage.groupFilter, triggerPage.groupFilter, timerPage.groupFilter, variablePage.groupFilter}) {
        const QString current = combo->currentText();
        const QSignalBlocker blocker(combo);
        combo->clear();
        combo->addItem(kAllGroups);
        combo->addItems(groups);
        combo->setCurrentIndex(qMax(0, combo->findText(current)));
    }
}

void ScriptEditor::addInfoTab(QWidget* widget, const QString& title)
{
    tabs->addTab(widget, title);
}

void ScriptEditor::showTab(const QString& title)
{
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i) == title) {
            tabs->setCurrentIndex(i);
            return;
        }
    }
}

void ScriptEditor::emitScriptsChanged()
{
    emit scriptsChanged(getScripts());
}

std::optional<QString> ScriptEditor::currentName(const Page& page) const
{
    const int row = page.table->currentRow();
    if (row < 0 || !page.table->item(row, 0))
        return std::nullopt;
    return page.table->item(row, 0)->text();
}

// After any change the table shows every record again, whatever the filter says.
void ScriptEditor::recordsChanged(void (ScriptEditor::*populate)(const QString&))
{
    (this->*populate)(QString());
    refreshGroupFilters();
    emitScriptsChanged();
}

void ScriptEditor::populateAliasTable(const QString& group)
{
    fillTable(aliasPage.table, scripts.aliases, group);
}
void ScriptEditor::populateTriggerTable(const QString& group)
{
    fillTable(triggerPage.table, scripts.triggers, group);
}
void ScriptEditor::populateTimerTable(const QString& group)
{
    fillTable(timerPage.table, scripts.timers, group);
}
void ScriptEditor::populateVariableTable(const QString& group)
{
    fillTable(variablePage.table, scripts.variables, group);
}
void ScriptEditor::populateQuickActionTable()
{
    fillTable(quickActionPage.table, scripts.quickActions);
}

void ScriptEditor::onAliasGroupChanged(const QString& group)
{
    populateAliasTable(filterGroup(group));
}
void ScriptEditor::onTriggerGroupChanged(const QString& group)
{
    populateTriggerTable(filterGroup(group));
}
void ScriptEditor::onTimerGroupChanged(const QString& group)
{
    populateTimerTable(filterGroup(group));
}
void ScriptEditor::onVariableGroupChanged(const QString& group)
{
    populateVariableTable(filterGroup(group));
}

void ScriptEditor::onAliasAdd()
{
    if (addRecord(this, AliasKind, scripts.aliases))
        recordsChanged(&ScriptEditor::populateAliasTable);
}

void ScriptEditor::onAliasEdit()
{
    if (editRecord(this, AliasKind, scripts.aliases, currentName(aliasPage)))
        recordsChanged(&ScriptEditor::populateAliasTable);
}

void ScriptEditor::onAliasDelete()
{
    if (removeRecord(scripts.aliases, currentName(aliasPage)))
        recordsChanged(&ScriptEditor::populateAliasTable);
}

void ScriptEditor::onTriggerAdd()
{
    if (addRecord(this, TriggerKind, scripts.triggers))
        recordsChanged(&ScriptEditor::populateTriggerTable);
}

void ScriptEditor::onTriggerEdit()
{
    if (editRecord(this, TriggerKind, scripts.triggers, currentName(triggerPage)))
        recordsChanged(&ScriptEditor::populateTriggerTable);
}

void ScriptEditor::onTriggerDelete()
{
    if (removeRecord(scripts.triggers, currentName(triggerPage)))
        recordsChanged(&ScriptEditor::populateTriggerTable);
}

void ScriptEditor::onTimerAdd()
{
    if (addRecord(this, TimerKind, scripts.timers))
        recordsChanged(&ScriptEditor::populateTimerTable);
}

void ScriptEditor::onTimerEdit()
{
    if (editRecord(this, TimerKind, scripts.timers, currentName(timerPage)))
        recordsChanged(&ScriptEditor::populateTimerTable);
}

void ScriptEditor::onTimerDelete()
{
    if (removeRecord(scripts.timers, currentName(timerPage)))
        recordsChanged(&ScriptEditor::populateTimerTable);
}

void ScriptEditor::onVariableAdd()
{
    if (addRecord(this, VariableKind, scripts.variables))
        recordsChanged(&ScriptEditor::populateVariableTable);
}

void ScriptEditor::onVariableEdit()
{
    if (editRecord(this, VariableKind, scripts.variables, currentName(variablePage)))
        recordsChanged(&ScriptEditor::populateVariableTable);
}

void ScriptEditor::onVariableDelete()
{
    if (removeRecord(scripts.variables, currentName(variablePage)))
        recordsChanged(&ScriptEditor::populateVariableTable);
}

void ScriptEditor::onQuickActionAdd()
{
    scripts.quickActions.append({QStringLiteral("New Action"), QStringLiteral("command"), true});
    populateQuickActionTable();
    emitScriptsChanged();
}

void ScriptEditor::onQuickActionEdit()
{
    const int row = quickActionPage.table->currentRow();
    if (row < 0 || row >= scripts.quickActions.size())
        return;
    QuickActionDialog dialog(this);
    dialog.setQuickAction(scripts.quickActions[row]);
    if (dialog.exec() != QDialog::Accepted)
        return;
    scripts.quickActions[row] = dialog.getQuickAction();
    populateQuickActionTable();
    emitScriptsChanged();
}

void ScriptEditor::onQuickActionDelete()
{
    const int row = quickActionPage.table->currentRow();
    if (row < 0 || row >= scripts.quickActions.size())
        return;
    scripts.quickActions.removeAt(row);
    populateQuickActionTable();
    emitScriptsChanged();
}
