#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QTabWidget>
#include <QTableWidget>
#include <QtTest>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "support/TestEnvironment.h"
#include "ui/MsdpViewer.h"
#include "ui/ScriptEditor.h"
#include "ui/ScriptItemDialog.h"
#include "ui/TriggerDebugger.h"

namespace {

QTableWidget* tableOf(ScriptEditor& editor, const QString& tab)
{
    auto* tabs = editor.findChild<QTabWidget*>();
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i) == tab)
            return tabs->widget(i)->findChild<QTableWidget*>();
    }
    return nullptr;
}

QStringList column(QTableWidget* table, int c)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts << table->item(row, c)->text();
    return texts;
}

// Fills the first line edit (the name) of the next item dialog and accepts it.
void acceptNextItemDialog(const QString& name)
{
    QTimer::singleShot(0, [name] {
        auto* dialog = qobject_cast<ScriptItemDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        dialog->findChildren<QLineEdit*>().first()->setText(name);
        dialog->accept();
    });
}

} // namespace

class tst_ScriptEditor : public QObject {
    Q_OBJECT

private slots:
    void showsFiltersAndShortens();
    void everyChangeEmitsTheWholeRecord();
    void msdpViewerSortsAndUpdatesInPlace();
    void triggerDebuggerLogsAndDetaches();
};

void tst_ScriptEditor::showsFiltersAndShortens()
{
    ScriptEditor editor;
    Scripts scripts;
    scripts.triggers = {{"long", QString(51, 'x'), "", "combat"}, {"exact", QString(50, 'y'), "", "", true}};
    scripts.timers = {{"t", 500, "once", "", "", false}, {"r", 100, "Once", "", "misc", true}};
    scripts.aliases = {{"a", "k", "kill", "combat", true}, {"b", "b", "bash", "", true}};
    editor.setScripts(scripts);

    // Long patterns are cut to 50 characters; a type is "Once" only in lower case.
    QCOMPARE(column(tableOf(editor, "Triggers"), 1),
             QStringList({QString(47, 'x') + "...", QString(50, 'y')}));
    QCOMPARE(column(tableOf(editor, "Timers"), 2), QStringList({"Once", "Repeat"}));

    auto* filter = tableOf(editor, "Aliases")->parentWidget()->findChild<QComboBox*>();
    QStringList groups;
    for (int i = 0; i < filter->count(); ++i)
        groups << filter->itemText(i);
    QCOMPARE(groups, QStringList({"All", "combat", "misc"}));
    filter->setCurrentText("combat");
    QCOMPARE(column(tableOf(editor, "Aliases"), 0), QStringList({"a"}));
    filter->setCurrentText("All");
    QCOMPARE(column(tableOf(editor, "Aliases"), 0), QStringList({"a", "b"}));

    auto* tabs = editor.findChild<QTabWidget*>();
    editor.showTab("Quick Actions");
    QCOMPARE(tabs->tabText(tabs->currentIndex()), "Quick Actions");
}

void tst_ScriptEditor::everyChangeEmitsTheWholeRecord()
{
    ScriptEditor editor;
    Scripts scripts;
    scripts.aliases = {{"a", "k", "kill", "combat", true}};
    scripts.variables = {{"hp", "1", ""}};
    scripts.luaModules = {{"main", true, 0}};
    editor.setScripts(scripts);
    QSignalSpy changed(&editor, &ScriptEditor::scriptsChanged);
    const auto emitted = [&changed] {
        return changed.last().at(0).value<Scripts>();
    };
    QTableWidget* aliases = tableOf(editor, "Aliases");

    editor.onAliasEdit(); // nothing selected: nothing happens
    editor.onAliasDelete();
    QCOMPARE(changed.count(), 0);

    acceptNextItemDialog("second");
    editor.onAliasAdd();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(emitted().aliases.value(1).name, "second");
    QCOMPARE(emitted().variables, scripts.variables);
    QCOMPARE(emitted().luaModules, scripts.luaModules);

    aliases->setCurrentCell(0, 0);
    acceptNextItemDialog("renamed");
    editor.onAliasEdit();
    QCOMPARE(emitted().aliases[0].name, "renamed");
    QCOMPARE(emitted().aliases[0].alias, "k");

    aliases->setCurrentCell(1, 0);
    editor.onAliasDelete();
    QCOMPARE(emitted().aliases.size(), 1);

    editor.onQuickActionAdd();
    QCOMPARE(emitted().quickActions, QList<QuickAction>({{"New Action", "command", true}}));
    tableOf(editor, "Quick Actions")->setCurrentCell(0, 0);
    editor.onQuickActionDelete();
    QVERIFY(emitted().quickActions.isEmpty());
    QCOMPARE(changed.count(), 5);
}

void tst_ScriptEditor::msdpViewerSortsAndUpdatesInPlace()
{
    MsdpViewer viewer;
    viewer.refreshMsdpTable();
    QCOMPARE(viewer.getTable()->rowCount(), 0);

    GameSession session(Character{"V", "", "127.0.0.1", 1, ""}, nullptr);
    session.setMsdpVariable("ROOM_NAME", "Lookout");
    session.setMsdpVariable("COMBO", "1");
    viewer.setSession(&session);
    QCOMPARE(column(viewer.getTable(), 0), QStringList({"COMBO", "ROOM_NAME"}));

    session.setMsdpVariable("CHARACTER_KI", "5");
    QCOMPARE(column(viewer.getTable(), 0), QStringList({"CHARACTER_KI", "COMBO", "ROOM_NAME"}));
    session.setMsdpVariable("ROOM_NAME", "Tower");
    QCOMPARE(column(viewer.getTable(), 1), QStringList({"5", "1", "Tower"}));

    viewer.setSession(nullptr);
    session.setMsdpVariable("ZETA", "1");
    QCOMPARE(viewer.getTable()->rowCount(), 0);
}

void tst_ScriptEditor::triggerDebuggerLogsAndDetaches()
{
    GameSession first(Character{"D", "", "127.0.0.1", 1, ""}, nullptr);
    GameSession second(Character{"D", "", "127.0.0.1", 2, ""}, nullptr);
    TriggerDebugger debugger;
    debugger.setSession(&first);
    ScriptEngine* engine = first.getScriptEngine();

    emit engine->triggerFired("%1 hit", QString(50, 'a'), "cmd");
    emit engine->triggerFired("p", QString(50, 'b') + "c", "cmd");
    QListWidget* log = debugger.getLog();
    QCOMPARE(log->count(), 2);
    QVERIFY(QRegularExpression(R"(^\[\d\d:\d\d:\d\d\] Trigger: %1 hit \| Matched: "a{50}"$)")
                .match(log->item(0)->text())
                .hasMatch());
    QVERIFY(log->item(1)->text().endsWith(QString(50, 'b') + "\""));

    debugger.setSession(&second);
    emit engine->triggerFired("p", "x", "");
    QCOMPARE(log->count(), 2);
    emit second.getScriptEngine()->triggerFired("p", "x", "");
    QCOMPARE(log->count(), 3);
    emit second.getScriptEngine()->luaError("'heal': boom"); // a failed "lua:" call is logged too
    QVERIFY(log->item(3)->text().endsWith("] Lua error: 'heal': boom"));
    debugger.setSession(nullptr);
    emit second.getScriptEngine()->triggerFired("p", "x", "");
    QCOMPARE(log->count(), 4);
    debugger.onClearDebugLog();
    QCOMPARE(log->count(), 0);
}

OLVEX_TEST_MAIN(tst_ScriptEditor, QApplication)
#include "tst_ScriptEditor.moc"
