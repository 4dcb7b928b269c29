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

#include <functional>
#include <type_traits>

#include "lua/LuaScriptTab.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "ui/ScriptItemDialog.h"
#include "ui/ScriptRecordForms.h"
#include "ui/Theme.h"

namespace {

const QString kAllGroups = QStringLiteral("All");
const QString kQuickActionsTitle = QStringLiteral("Quick Actions");
const QString kKeyBindingsTitle = QStringLiteral("Key Bindings");

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
    return {t.name, QString::number(t.intervalMs), ScriptItemDialog::timerTypeLabel(t.kind()),
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

QStringList cells(const KeyBinding& k)
{
    return {k.keySequence, shortened(k.commands), k.name, enabledCell(k.enabled)};
}

template <typename Record>
void fillTable(QTableWidget* table, const QList<Record>& records, const QString& group)
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

// Quick actions and key bindings have no group filter, so a row is a record's
// position; the other tables may be filtered and are searched by name.
template <typename Record>
constexpr bool kGroupedPage = !std::is_same_v<Record, QuickAction> && !std::is_same_v<Record, KeyBinding>;

// A grouped table may be filtered, so its rows are matched to records by the
// name in column 0; with two equal names the first one is meant.
template <typename Record> int indexByName(const QList<Record>& records, const QTableWidget* table, int row)
{
    const QTableWidgetItem* item = row >= 0 ? table->item(row, 0) : nullptr;
    for (int i = 0; item && i < records.size(); ++i) {
        if (records[i].name == item->text())
            return i;
    }
    return -1;
}

} // namespace

// One tab of records: its table, its group filter (grouped pages only) and
// what its buttons do with the collection behind it.
struct ScriptEditor::Page {
    QWidget* widget = nullptr;
    QTableWidget* table = nullptr;
    QComboBox* groupFilter = nullptr;
    std::function<void(const QString& group)> populate;
    std::function<int(int row)> indexOfRow; // -1 when the row shows no record
    std::function<bool()> add;
    std::function<bool(int index)> edit;
    std::function<void(int index)> remove;
};

ScriptEditor::ScriptEditor(QWidget* parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Olvex — Scripts"));
    setStyleSheet(Theme::panelStyleSheet());
    resize(960, 620);
    tabs = new QTabWidget(this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);

    addRecordPage(
        QStringLiteral("Aliases"),
        {QStringLiteral("Name"), QStringLiteral("Alias"), QStringLiteral("Group"), QStringLiteral("Enabled")},
        &Scripts::aliases);
    addRecordPage(QStringLiteral("Triggers"),
                  {QStringLiteral("Name"), QStringLiteral("Pattern"), QStringLiteral("Regex"),
                   QStringLiteral("Group"), QStringLiteral("Enabled")},
                  &Scripts::triggers);
    addRecordPage(QStringLiteral("Timers"),
                  {QStringLiteral("Name"), QStringLiteral("Interval (ms)"), QStringLiteral("Type"),
                   QStringLiteral("Group"), QStringLiteral("Enabled")},
                  &Scripts::timers);
    addRecordPage(QStringLiteral("Variables"),
                  {QStringLiteral("Name"), QStringLiteral("Value"), QStringLiteral("Group")},
                  &Scripts::variables);
    addRecordPage(kQuickActionsTitle,
                  {QStringLiteral("Label"), QStringLiteral("Command"), QStringLiteral("Enabled")},
                  &Scripts::quickActions);
    // Its tab is shown only with the client's conveniences on (updateKeyBindingsPage).
    keyBindingsPage = addRecordPage(kKeyBindingsTitle,
                                    {QStringLiteral("Key Sequence"), QStringLiteral("Commands"),
                                     QStringLiteral("Name"), QStringLiteral("Enabled")},
                                    &Scripts::keyBindings);
    tabs->removeTab(tabs->indexOf(keyBindingsPage->widget));
    setupLuaTab();
}

ScriptEditor::~ScriptEditor() = default;

template <typename Record>
ScriptEditor::Page* ScriptEditor::addRecordPage(const QString& title, const QStringList& headers,
                                                QList<Record> Scripts::*records)
{
    Page* page = addPageWidgets(title, headers, kGroupedPage<Record>);
    QTableWidget* table = page->table;
    page->populate = [this, table, records](const QString& group) {
        fillTable(table, scripts.*records, group);
    };
    page->indexOfRow = [this, table, records](int row) {
        if constexpr (kGroupedPage<Record>)
            return indexByName(scripts.*records, table, row);
        else
            return row >= 0 && row < (scripts.*records).size() ? row : -1;
    };
    page->add = [this, records] {
        Record record;
        if (!ScriptRecordForms::create(this, record, conveniencesEnabled()))
            return false;
        (scripts.*records).append(record);
        return true;
    };
    // The dialog works on a copy: the list may be replaced while it is open.
    page->edit = [this, records](int index) {
        Record record = (scripts.*records).at(index);
        if (!ScriptRecordForms::edit(this, record, conveniencesEnabled()) ||
            index >= (scripts.*records).size())
            return false;
        (scripts.*records)[index] = record;
        return true;
    };
    page->remove = [this, records](int index) {
        (scripts.*records).removeAt(index);
    };
    return page;
}

ScriptEditor::Page* ScriptEditor::addPageWidgets(const QString& title, const QStringList& headers,
                                                 bool grouped)
{
    pages.push_back(std::make_unique<Page>());
    Page* page = pages.back().get();
    page->widget = new QWidget(tabs);
    auto* layout = new QVBoxLayout(page->widget);

    if (grouped) {
        page->groupFilter = new QComboBox(page->widget);
        page->groupFilter->addItem(kAllGroups);
        page->groupFilter->setMinimumWidth(160);
        page->groupFilter->setAccessibleName(tr("Filter by group"));
        connect(page->groupFilter, &QComboBox::currentTextChanged, this,
                [this, page](const QString& text) { onGroupChanged(*page, text); });
        auto* filterRow = new QHBoxLayout;
        filterRow->addWidget(new QLabel(QStringLiteral("Filter by group:"), page->widget));
        filterRow->addWidget(page->groupFilter);
        filterRow->addStretch(1);
        layout->addLayout(filterRow);
    }

    page->table = new QTableWidget(0, headers.size(), page->widget);
    page->table->setHorizontalHeaderLabels(headers);
    // The text column (alias, pattern, value, command) gets the spare width.
    QHeaderView* header = page->table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(1, QHeaderView::Stretch);
    header->setMinimumSectionSize(80);
    page->table->verticalHeader()->hide();
    page->table->setSelectionBehavior(QAbstractItemView::SelectRows);
    page->table->setSelectionMode(QAbstractItemView::SingleSelection);
    page->table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab leaves the table for the buttons below; the arrow keys move between rows.
    page->table->setTabKeyNavigation(false);
    page->table->setAccessibleName(title);
    connect(page->table, &QTableWidget::cellDoubleClicked, this, [this, page] { onEditClicked(*page); });
    layout->addWidget(page->table, 1);

    auto* buttons = new QHBoxLayout;
    const std::pair<QString, void (ScriptEditor::*)(Page&)> actions[] = {
        {QStringLiteral("Add"), &ScriptEditor::onAddClicked},
        {QStringLiteral("Edit"), &ScriptEditor::onEditClicked},
        {QStringLiteral("Delete"), &ScriptEditor::onDeleteClicked}};
    for (const auto& [text, handler] : actions) {
        auto* button = new QPushButton(text, page->widget);
        connect(button, &QPushButton::clicked, this,
                [this, page, handler = handler] { (this->*handler)(*page); });
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    layout->addLayout(buttons);
    tabs->addTab(page->widget, title);
    return page;
}

void ScriptEditor::setupLuaTab()
{
    luaTab = new LuaScriptTab(tabs);
    connect(luaTab, &LuaScriptTab::modulesChanged, this, &ScriptEditor::emitScriptsChanged);
    connect(luaTab, &LuaScriptTab::moduleCodeChanged, this, &ScriptEditor::onModuleCodeChanged);
    tabs->addTab(luaTab, QStringLiteral("Lua Scripts"));
}

void ScriptEditor::setSession(GameSession* newSession)
{
    if (session)
        disconnect(session, nullptr, this, nullptr);
    session = newSession;
    if (session)
        connect(session, &GameSession::scriptsUpdated, this, &ScriptEditor::onSessionScriptsUpdated);
    updateKeyBindingsPage();
}

bool ScriptEditor::conveniencesEnabled() const
{
    return session && session->isFeatureEnabled(GameFeature::ClientConveniences);
}

// The switch can change while the window exists, so this runs whenever the
// editor is filled or asked for a tab.
void ScriptEditor::updateKeyBindingsPage()
{
    luaTab->setCountsOnlyImported(conveniencesEnabled());
    const int index = tabs->indexOf(keyBindingsPage->widget);
    if (conveniencesEnabled() && index < 0) {
        tabs->insertTab(tabs->indexOf(luaTab), keyBindingsPage->widget, kKeyBindingsTitle);
    } else if (!conveniencesEnabled() && index >= 0) {
        tabs->removeTab(index);
    }
}

void ScriptEditor::setScripts(const Scripts& newScripts)
{
    scripts = newScripts;
    refreshGroupFilters();
    populateAll();
    luaTab->setModules(scripts.luaModules, session ? session->getScriptDir() : QString());
    updateKeyBindingsPage();
}

void ScriptEditor::populateAll()
{
    for (const auto& page : pages)
        page->populate(QString());
}

Scripts ScriptEditor::getScripts() const
{
    Scripts copy = scripts;
    copy.luaModules = luaTab->getModules();
    return copy;
}

// The editor's own changes come back this way too; only a change made
// elsewhere refills it (which would otherwise drop the Lua tab's selection).
void ScriptEditor::onSessionScriptsUpdated(const Scripts& updated)
{
    if (!(updated == getScripts()))
        setScripts(updated);
}

// With the conveniences on, saved or imported module code takes effect at once.
void ScriptEditor::onModuleCodeChanged()
{
    if (!conveniencesEnabled())
        return;
    QStringList enabledModules;
    for (const LuaModule& module : luaTab->getModules()) {
        if (module.enabled)
            enabledModules.append(module.name);
    }
    session->getScriptEngine()->reloadAllLuaModules(enabledModules);
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
    for (const auto& page : pages) {
        QComboBox* combo = page->groupFilter;
        if (!combo)
            continue;
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
    updateKeyBindingsPage();
    const bool keysHidden = tabs->indexOf(keyBindingsPage->widget) < 0;
    const QString shown = title == kKeyBindingsTitle && keysHidden ? kQuickActionsTitle : title;
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i) == shown) {
            tabs->setCurrentIndex(i);
            return;
        }
    }
}

void ScriptEditor::emitScriptsChanged()
{
    emit scriptsChanged(getScripts());
}

// After any change the table shows every record again, whatever the filter says.
void ScriptEditor::recordsChanged(Page& page)
{
    page.populate(QString());
    refreshGroupFilters();
    emitScriptsChanged();
}

void ScriptEditor::onGroupChanged(Page& page, const QString& text)
{
    page.populate(text == kAllGroups ? QString() : text);
}

void ScriptEditor::onAddClicked(Page& page)
{
    if (page.add())
        recordsChanged(page);
}

void ScriptEditor::onEditClicked(Page& page)
{
    const int index = page.indexOfRow(page.table->currentRow());
    if (index >= 0 && page.edit(index))
        recordsChanged(page);
}

void ScriptEditor::onDeleteClicked(Page& page)
{
    const int index = page.indexOfRow(page.table->currentRow());
    if (index < 0)
        return;
    page.remove(index);
    recordsChanged(page);
}
