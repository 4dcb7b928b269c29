#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
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
    void highlightIsSetWithConveniences();
};

void tst_ScriptItemDialog::showsRowsOfItsKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("rows");
    const char* kinds[][2] = {{"Alias", "Alias Text:,Command Mode:,Commands:"},
                              {"Trigger", "Pattern:,Command Mode:,Commands:"},
                              {"Timer", "Interval:,Type:,Command Mode:,Commands:"},
                              {"Variable", "Value:"},
                              {"Key Binding", "Key Sequence:,Commands:"}};
    for (int kind = 0; kind < 5; ++kind)
        QTest::newRow(kinds[kind][0]) << kind << QString(kinds[kind][1]);
}

void tst_ScriptItemDialog::showsRowsOfItsKind()
{
    QFETCH(int, kind);
    QFETCH(QString, rows);
    ScriptItemDialog dialog(static_cast<ScriptItemDialog::Kind>(kind));
    QCOMPARE(visibleRows(dialog).join(','), "Name:,Group:," + rows);

    // Only the kinds with a command mode switch between commands and a Lua call.
    if (auto* mode = field<QComboBox>(dialog, "Command Mode:"); mode->isVisibleTo(&dialog)) {
        mode->setCurrentIndex(1);
        QCOMPARE(visibleRows(dialog).join(','),
                 "Name:,Group:," + QString(rows).replace("Commands:", "Function:,Arg:"));
        mode->setCurrentIndex(0);
        QCOMPARE(visibleRows(dialog).join(','), "Name:,Group:," + rows);
    }

    // Tab leaves the last text box (Ctrl+Tab types a tab); Shift+Tab comes back.
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto* text = field<QPlainTextEdit>(dialog, rows.section(',', -1));
    QVERIFY(text);
    text->setFocus();
    QTest::keyClicks(text, "kill");
    QTest::keyClick(text, Qt::Key_Tab, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_Tab);
    QCOMPARE(text->toPlainText(), "kill\t");
    QVERIFY(QApplication::focusWidget() != text);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    QCOMPARE(QApplication::focusWidget(), text);
}

void tst_ScriptItemDialog::luaCommandsRoundTrip_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("function"); // null: the form shows a command list
    QTest::addColumn<QString>("arg");
    QTest::addColumn<QString>("saved");
    const auto row = [](const char* tag, const char* stored, const char* function, const char* arg,
                        const char* saved) {
        QTest::newRow(tag) << stored << (function ? QString(function) : QString()) << arg << saved;
    };
    row("call with argument", "lua:heal(self)", "heal", "self", "lua:heal(self)");
    row("bare function", "lua:heal", "heal", "", "lua:heal");
    row("spaces after prefix", "lua:  greet(a b) ", "greet", "a b", "lua:greet(a b)");
    row("prefix is case-sensitive", "LUA:heal", nullptr, "", "LUA:heal");
    row("command list", "kill orc;get all", nullptr, "", "kill orc;get all");
}

void tst_ScriptItemDialog::luaCommandsRoundTrip()
{
    QFETCH(QString, stored);
    QFETCH(QString, function);
    ScriptItemDialog dialog(ScriptItemDialog::TimerKind);
    dialog.setTimer(Timer{"t", 100, "repeat", stored, "", true});
    QCOMPARE(field<QComboBox>(dialog, "Command Mode:")->currentIndex(), function.isNull() ? 0 : 1);
    QCOMPARE(field<QLineEdit>(dialog, "Function:")->text(), function);
    QTEST(field<QLineEdit>(dialog, "Arg:")->text(), "arg");
    QTEST(dialog.getTimer().commands, "saved");
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

// Off, the form keeps carrying the trigger's highlight (checked above).
void tst_ScriptItemDialog::highlightIsSetWithConveniences()
{
    ScriptItemDialog dialog(ScriptItemDialog::TriggerKind);
    dialog.setHighlightEditable(true);
    dialog.setTrigger(Trigger{"hit", "You hit", "", "", false, true, false, "not a colour", false});
    QVERIFY(visibleRows(dialog).contains("Highlight:"));
    auto* check = field<QCheckBox>(dialog, "Highlight:");
    check->setChecked(true);
    QCOMPARE(dialog.getTrigger().highlightColor, "not a colour"); // kept until one is chosen

    QPushButton* colour = nullptr;
    for (QPushButton* button : dialog.findChildren<QPushButton*>())
        if (button->accessibleName() == "Highlight colour")
            colour = button;
    colour->click();
    auto* picker = dialog.findChild<QColorDialog*>();
    QVERIFY(picker);
    picker->setCurrentColor(QColor(0, 255, 0));
    picker->accept();
    const Trigger saved = dialog.getTrigger();
    QVERIFY(saved.highlight);
    QCOMPARE(saved.highlightColor, "#00FF00");
    QCOMPARE(saved.highlightFullLine, false);
}

OLVEX_TEST_MAIN(tst_ScriptItemDialog, QApplication)
#include "tst_ScriptItemDialog.moc"
