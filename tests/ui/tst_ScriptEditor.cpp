#include <QApplication>
#include <QComboBox>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QtTest>

#include "lua/LuaScriptTab.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "ui/KeyBindingDialog.h"
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

// Presses a button of a record page, as the player does.
void press(ScriptEditor& editor, const QString& tab, const QString& button)
{
    for (QPushButton* b : tableOf(editor, tab)->parentWidget()->findChildren<QPushButton*>())
        if (b->text() == button)
            return b->click();
    QFAIL(qPrintable("no button " + button));
}

// Runs `fill` on the next modal dialog, then accepts it.
template <typename Dialog> void acceptNextDialog(std::function<void(Dialog*)> fill)
{
    QTimer::singleShot(0, [fill] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        fill(dialog);
        dialog->accept();
    });
}

// Fills the first line edit (the name) of the next item dialog and accepts it.
void acceptNextItemDialog(const QString& name)
{
    acceptNextDialog<ScriptItemDialog>(
        [name](ScriptItemDialog* dialog) { dialog->findChildren<QLineEdit*>().first()->setText(name); });
}

// A profile import replaces the session's scripts; the open editor must take
// them, or its next edit writes its old copy back over the import.
void takesAnImport(ScriptEditor& editor, GameSession& session)
{
    // The editor's own changes come back from the session without refilling it.
    auto* code = editor.findChild<LuaScriptTab*>()->findChild<QPlainTextEdit*>();
    code->setPlainText("-- draft");
    press(editor, "Quick Actions", "Add");
    QCOMPARE(code->toPlainText(), "-- draft");

    Scripts imported;
    imported.aliases = {{"one", "1", "x", "", true}, {"two", "2", "y", "", true}};
    imported.variables = {{"v", "1", ""}};
    session.updateScripts(imported);
    QCOMPARE(column(tableOf(editor, "Aliases"), 0), QStringList({"one", "two"}));
    tableOf(editor, "Aliases")->setCurrentCell(1, 0);
    press(editor, "Aliases", "Delete");
    imported.aliases.removeLast();
    QCOMPARE(Storage::instance()->getScripts(session.getCharacter()), imported);
}

} // namespace

class tst_ScriptEditor : public QObject {
    Q_OBJECT

private slots:
    void showsFiltersShortensAndTabsOn();
    void everyChangeEmitsTheWholeRecord();
    void conveniencesFollowTheSwitch_data();
    void conveniencesFollowTheSwitch();
    void msdpViewerSortsAndUpdatesInPlace();
    void triggerDebuggerLogsAndDetaches();
};

void tst_ScriptEditor::showsFiltersShortensAndTabsOn()
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
    QTableWidget* aliases = tableOf(editor, "Aliases");
    QCOMPARE(column(aliases, 0), QStringList({"a", "b"}));

    // Tab used to walk the cells in a loop, so the buttons were out of reach.
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    aliases->setFocus();
    QTest::keyClick(aliases, Qt::Key_Down);
    const int selected = aliases->currentRow();
    for (const char* button : {"Add", "Edit", "Delete"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        auto* focused = qobject_cast<QPushButton*>(QApplication::focusWidget());
        QVERIFY2(focused && focused->text() == button, button);
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QCOMPARE(column(aliases, 0), QStringList{selected == 0 ? "b" : "a"});
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

    press(editor, "Aliases", "Edit"); // nothing selected: nothing happens
    press(editor, "Aliases", "Delete");
    QCOMPARE(changed.count(), 0);

    acceptNextItemDialog("second");
    press(editor, "Aliases", "Add");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(emitted().aliases.value(1).name, "second");
    QCOMPARE(emitted().variables, scripts.variables);
    QCOMPARE(emitted().luaModules, scripts.luaModules);

    aliases->setCurrentCell(0, 0);
    acceptNextItemDialog("renamed");
    press(editor, "Aliases", "Edit");
    QCOMPARE(emitted().aliases[0].name, "renamed");
    QCOMPARE(emitted().aliases[0].alias, "k");

    aliases->setCurrentCell(1, 0);
    press(editor, "Aliases", "Delete");
    QCOMPARE(emitted().aliases.size(), 1);

    press(editor, "Quick Actions", "Add");
    QCOMPARE(emitted().quickActions, QList<QuickAction>({{"New Action", "command", true}}));
    tableOf(editor, "Quick Actions")->setCurrentCell(0, 0);
    press(editor, "Quick Actions", "Delete");
    QVERIFY(emitted().quickActions.isEmpty());
    QCOMPARE(changed.count(), 5);
}

void tst_ScriptEditor::conveniencesFollowTheSwitch_data()
{
    QTest::addColumn<bool>("on");
    QTest::newRow("off") << false;
    QTest::newRow("on") << true;
}

void tst_ScriptEditor::conveniencesFollowTheSwitch()
{
    QFETCH(bool, on);
    GameSession session(Character{"Keys", "", "127.0.0.1", on ? 2 : 1, ""}, nullptr);
    session.setFeatureEnabled(GameFeature::ClientConveniences, on);
    Scripts scripts;
    scripts.keyBindings = {{"odd", "Hyper+Q", "old", "g", true}}; // hand-written, not recordable
    scripts.luaModules = {{"m", true, 0}};
    writeFile(session.getScriptDir() + "/m.lua", "");
    ScriptEditor editor;
    editor.setSession(&session);
    editor.setScripts(scripts);
    connect(&editor, &ScriptEditor::scriptsChanged, &session, &GameSession::updateScripts);

    auto* tabs = editor.findChild<QTabWidget*>();
    QStringList titles;
    for (int i = 0; i < tabs->count(); ++i)
        titles << tabs->tabText(i);
    QCOMPARE(titles.join(','), QString("Aliases,Triggers,Timers,Variables,Quick Actions,%1Lua Scripts")
                                   .arg(on ? "Key Bindings," : ""));
    editor.showTab("Key Bindings"); // what the toolbar's "Keys" asks for
    QCOMPARE(tabs->tabText(tabs->currentIndex()), on ? "Key Bindings" : "Quick Actions");

    bool highlightOffered = !on; // stays wrong unless the dialog opens
    acceptNextDialog<ScriptItemDialog>([&highlightOffered](ScriptItemDialog* dialog) {
        for (QWidget* w : dialog->findChildren<QWidget*>())
            if (w->accessibleName() == "Highlight colour")
                highlightOffered = w->isVisibleTo(dialog);
    });
    press(editor, "Triggers", "Add");
    QCOMPARE(highlightOffered, on);

    // A saved module takes effect at once with the switch on, at the next connect without it.
    auto* luaTab = editor.findChild<LuaScriptTab*>();
    luaTab->findChild<QListWidget*>()->setCurrentRow(0);
    luaTab->findChild<QPlainTextEdit*>()->setPlainText("function greet() end\n");
    for (QPushButton* button : luaTab->findChildren<QPushButton*>())
        if (button->text() == "Save")
            button->click();
    QCOMPARE(session.getLuaFunctions().contains("greet"), on);
    if (!on)
        return takesAnImport(editor, session);

    // Only recorded keys replace the stored text; the session applies every change.
    tableOf(editor, "Key Bindings")->setCurrentCell(0, 0);
    acceptNextDialog<KeyBindingDialog>(
        [](KeyBindingDialog* dialog) { dialog->findChild<QPlainTextEdit*>()->setPlainText("new"); });
    press(editor, "Key Bindings", "Edit");
    acceptNextDialog<KeyBindingDialog>([](KeyBindingDialog* dialog) {
        QTest::keyClick(dialog->findChild<QKeySequenceEdit*>(), Qt::Key_F5, Qt::ControlModifier);
        dialog->findChild<QPlainTextEdit*>()->setPlainText("flee");
    });
    press(editor, "Key Bindings", "Add");
    QCOMPARE(session.getScriptEngine()->scripts().keyBindings,
             QList<KeyBinding>({{"odd", "Hyper+Q", "new", "g", true}, {"", "Ctrl+F5", "flee", "", true}}));
    QCOMPARE(column(tableOf(editor, "Key Bindings"), 0), QStringList({"Hyper+Q", "Ctrl+F5"}));
    tableOf(editor, "Key Bindings")->setCurrentCell(0, 0);
    press(editor, "Key Bindings", "Delete");
    QCOMPARE(session.getScriptEngine()->scripts().keyBindings.size(), 1);
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

    // Once the session's bounded table turns updates away, the viewer says how
    // many: four names are in, so the last five of 1025 more do not fit.
    viewer.setSession(&session);
    QLabel* dropped = viewer.getDroppedLabel();
    QVERIFY(dropped->isHidden());
    for (int i = 0; i <= GameSession::kMaxMsdpVariables; ++i)
        session.setMsdpVariable(QString("FILL_%1").arg(i), "x");
    session.setMsdpVariable("ROOM_NAME", "Keep"); // an existing name refreshes the viewer
    QVERIFY(!dropped->isHidden());
    QVERIFY2(dropped->text().startsWith("5 update(s) not kept"), qPrintable(dropped->text()));
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
