#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/ScriptItemDialog.h"

namespace {

// The labels of the rows the dialog would show, in form order. It is never
// shown offscreen, so visibility is taken relative to the dialog.
QStringList visibleRows(const ScriptItemDialog& dialog)
{
    QStringList rows;
    for (QLabel* label : dialog.findChildren<QLabel*>())
        if (label->isVisibleTo(&dialog))
            rows << label->text();
    return rows;
}

template <typename Field> Field* field(const ScriptItemDialog& dialog, const QString& label)
{
    for (QLabel* l : dialog.findChildren<QLabel*>())
        if (l->text() == label)
            return qobject_cast<Field*>(l->buddy());
    return nullptr;
}

} // namespace

class tst_ScriptItemDialog : public QObject {
    Q_OBJECT

private slots:
    void showsRowsOfItsKind_data();
    void showsRowsOfItsKind();
    void luaCommandsRoundTrip_data();
    void luaCommandsRoundTrip();
    void recordsKeepTheirFields();
};

void tst_ScriptItemDialog::showsRowsOfItsKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("rows");
    QTest::newRow("alias") << 0 << "Alias"
                           << "Alias Text:,Command Mode:,Commands:";
    QTest::newRow("trigger") << 1 << "Trigger"
                             << "Pattern:,Command Mode:,Commands:";
    QTest::newRow("timer") << 2 << "Timer"
                           << "Interval:,Type:,Command Mode:,Commands:";
    QTest::newRow("variable") << 3 << "Variable"
                              << "Value:";
    QTest::newRow("key binding") << 4 << "Key Binding"
                                 << "Key Sequence:,Commands:";
}

void tst_ScriptItemDialog::showsRowsOfItsKind()
{
    QFETCH(int, kind);
    QFETCH(QString, title);
    QFETCH(QString, rows);
    ScriptItemDialog dialog(kind);
    QCOMPARE(dialog.windowTitle(), title);
    QCOMPARE(visibleRows(dialog).join(','), "Name:,Group:," + rows);

    // Only the kinds with a command mode switch between commands and a Lua call.
    if (auto* mode = field<QComboBox>(dialog, "Command Mode:"); mode->isVisibleTo(&dialog)) {
        mode->setCurrentIndex(1);
        QCOMPARE(visibleRows(dialog).join(','),
                 "Name:,Group:," + QString(rows).replace("Commands:", "Function:,Arg:"));
        mode->setCurrentIndex(0);
        QCOMPARE(visibleRows(dialog).join(','), "Name:,Group:," + rows);
    }
}

void tst_ScriptItemDialog::luaCommandsRoundTrip_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("arg");
    QTest::addColumn<QString>("saved");
    QTest::newRow("call with argument") << "lua:heal(self)"
                                        << "heal"
                                        << "self"
                                        << "lua:heal(self)";
    QTest::newRow("bare function") << "lua:heal"
                                   << "heal"
                                   << ""
                                   << "lua:heal";
    QTest::newRow("spaces after prefix") << "lua:  greet(a b) "
                                         << "greet"
                                         << "a b"
                                         << "lua:greet(a b)";
    QTest::newRow("prefix is case-sensitive") << "LUA:heal" << QString() << ""
                                              << "LUA:heal";
    QTest::newRow("command list") << "kill orc;get all" << QString() << ""
                                  << "kill orc;get all";
}

void tst_ScriptItemDialog::luaCommandsRoundTrip()
{
    QFETCH(QString, stored);
    QFETCH(QString, function);
    QFETCH(QString, arg);
    QFETCH(QString, saved);
    ScriptItemDialog dialog(ScriptItemDialog::TimerKind);
    dialog.setTimer(Timer{"t", 100, "repeat", stored, "", true});
    const bool luaMode = !function.isNull();
    QCOMPARE(field<QComboBox>(dialog, "Command Mode:")->currentIndex(), luaMode ? 1 : 0);
    QCOMPARE(field<QLineEdit>(dialog, "Function:")->text(), QString(function));
    QCOMPARE(field<QLineEdit>(dialog, "Arg:")->text(), arg);
    QCOMPARE(dialog.getTimer().commands, saved);
}

void tst_ScriptItemDialog::recordsKeepTheirFields()
{
    ScriptItemDialog aliasDialog(ScriptItemDialog::AliasKind);
    field<QComboBox>(aliasDialog, "Command Mode:")->setCurrentIndex(1);
    field<QLineEdit>(aliasDialog, "Alias Text:")->setText("hi");
    field<QLineEdit>(aliasDialog, "Function:")->setText(" greet ");
    field<QLineEdit>(aliasDialog, "Arg:")->setText("world");
    QCOMPARE(aliasDialog.getAlias(), (Alias{"", "hi", "lua:greet(world)", "", true}));

    Trigger trigger{"hit", "You (\\w+)", "say ouch", "combat", true, false, true, "#FF0000", false};
    ScriptItemDialog triggerDialog(ScriptItemDialog::TriggerKind);
    triggerDialog.setTrigger(trigger);
    QCOMPARE(triggerDialog.getTrigger(), trigger); // highlight settings survive the form
    QCOMPARE(ScriptItemDialog(ScriptItemDialog::TriggerKind).getTrigger().highlightColor, QString("#FFFF00"));

    for (const QString type : {"once", "repeat"}) {
        const Timer timer{"tick", 2500, type, "lua:tick", "g", false};
        ScriptItemDialog timerDialog(ScriptItemDialog::TimerKind);
        timerDialog.setTimer(timer);
        QCOMPARE(field<QComboBox>(timerDialog, "Type:")->currentText(), type == "once" ? "Once" : "Repeat");
        QCOMPARE(timerDialog.getTimer(), timer);
    }
}

OLVEX_TEST_MAIN(tst_ScriptItemDialog, QApplication)
#include "tst_ScriptItemDialog.moc"
