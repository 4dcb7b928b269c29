#include <QtTest>

#include "script/CommandProcessor.h"
#include "support/TestEnvironment.h"

class tst_CommandProcessor : public QObject {
    Q_OBJECT

private slots:
    void processCommand_data();
    void processCommand();
};

namespace {

// variables: "name=value" pairs joined by ","; checked: one "name=value" to
// read back afterwards.
void row(const char* name, const QString& variables, const QString& line, const QStringList& expected,
         const QString& checked = {})
{
    QTest::newRow(name) << variables << line << expected << checked;
}

} // namespace

void tst_CommandProcessor::processCommand_data()
{
    QTest::addColumn<QString>("variables");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("checked");

    const QStringList none;
    row("repeat of a trimmed line", "", "  #2 north  ", {"north", "north"});
    row("repeat zero times", "", "#0 north", none);
    row("repeat count that does not fit is zero", "", "#4294967296 north", none);
    row("repeated text is not parsed", "", "#3 #var x 1", {"#var x 1", "#var x 1", "#var x 1"}, "x=");
    row("repeated text is not substituted", "t=orc", "#2 kill $t", {"kill $t", "kill $t"});
    row("bare count is sent as text", "", "#3", {"#3"});
    row("var keeps blanks at value start", "", "#var target  orc", none, "target= orc");
    row("var value is not substituted", "a=1", "#var b $a", none, "b=$a");
    row("var without value changes nothing", "x=old", "#var x", none, "x=old");
    row("prefixes are case-sensitive", "", "#VAR x 1", {"#VAR x 1"}, "x=");
    row("math stores zero", "x=5", "#math x 1+2", none, "x=0");
    row("if true takes then", "hp=10", "#if $hp < 50 then flee else kill orc", {"flee"});
    row("if false takes else", "hp=80", "#if $hp < 50 then flee else kill orc", {"kill orc"});
    row("unknown variable counts as zero", "", "#if $hp < 50 then flee else kill orc", {"flee"});
    row("false without else yields nothing", "hp=80", "#if $hp < 50 then flee", none);
    row("<= reads as < against zero", "hp=3", "#if $hp <= 5 then low else high", {"high"});
    row(">= reads as > against zero", "a=1", "#if $a >= 3 then x", {"x"});
    row("== is case-sensitive", "name=bob", "#if $name == Bob then say hi", none);
    row("!= on exact text", "name=bob", "#if $name != Bob then say hi", {"say hi"});
    row("bare words are literals", "hp=1", "#if hp == hp then x", {"x"});
    row("right operand variable", "a=7,b=7", "#if $a == $b then same", {"same"});
    row("branch is not parsed", "", "#if 1 == 1 then #var y 2", {"#var y 2"}, "y=");
    row("branch is not substituted", "t=orc", "#if 1 == 1 then kill $t", {"kill $t"});
    row("first then and else split", "", "#if 1 == 1 then a then b else c else d", {"a then b"});
    row("malformed if yields nothing", "", "#if nothing here", none);
    row("note prefix is a comment", "", "#notes anything", none);
    row("prefix reference inside longer one", "hp=100,hpmax=250", "$hp/$hpmax", {"100/100max"});
    row("unknown reference becomes empty", "", "say $unknown!", {"say !"});
    row("unknown hash word is substituted", "t=orc", "#foo $t", {"#foo orc"});
}

void tst_CommandProcessor::processCommand()
{
    QFETCH(QString, variables);
    QFETCH(QString, line);
    QFETCH(QStringList, expected);
    QFETCH(QString, checked);

    CommandProcessor processor;
    for (const QString& pair : variables.split(',', Qt::SkipEmptyParts))
        processor.setVariable(pair.section('=', 0, 0), pair.section('=', 1));
    QCOMPARE(processor.processCommand(line), expected);
    if (!checked.isEmpty())
        QCOMPARE(processor.getVariable(checked.section('=', 0, 0)), checked.section('=', 1));
}

OLVEX_TEST_MAIN(tst_CommandProcessor, QCoreApplication)
#include "tst_CommandProcessor.moc"
