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
// read back afterwards. Rows made with row() run with conveniences off,
// those made with onRow() with them on.
void row(const char* name, const QString& variables, const QString& line, const QStringList& expected,
         const QString& checked = {})
{
    QTest::newRow(name) << false << variables << line << expected << checked << QStringList();
}

void onRow(const char* name, const QString& variables, const QString& line, const QStringList& expected,
           const QString& checked = {}, const QStringList& shown = {})
{
    QTest::newRow(name) << true << variables << line << expected << checked << shown;
}

} // namespace

void tst_CommandProcessor::processCommand_data()
{
    QTest::addColumn<bool>("conveniences");
    QTest::addColumn<QString>("variables");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("checked");
    QTest::addColumn<QStringList>("shown");

    const QStringList none;
    row("repeat of a trimmed line", "", "  #2 north  ", {"north", "north"});
    row("repeat zero times", "", "#0 north", none);
    row("repeat count that does not fit is zero", "", "#4294967296 north", none);
    row("repeat has no cap", "", "#150 x", QStringList(150, "x"));
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
    row("showme goes to the server", "", "#showme hi", {"#showme hi"});
    row("prefix reference inside longer one", "hp=100,hpmax=250", "$hp/$hpmax", {"100/100max"});
    row("unknown reference becomes empty", "", "say $unknown!", {"say !"});
    row("unknown hash word is substituted", "t=orc", "#foo $t", {"#foo orc"});

    onRow("math follows precedence", "hp=7", "#math x ($hp + 2) * 3 - 10 / 4 % 3", none, "x=25");
    onRow("math signs and truncation", "", "#math x -7 / 2 + - -1", none, "x=-2");
    onRow("math beyond 32 bits", "", "#math x 3000000000 * 3", none, "x=9000000000");
    onRow("math of the one unrepresentable remainder", "", "#math x (-9223372036854775807 - 1) % -1", none,
          "x=0");
    onRow("division by zero keeps the value", "x=5,d=0", "#math x 1 / $d", none, "x=5",
          {"[#math x: division by zero in \"1 / 0\"]"});
    onRow("overflow keeps the value", "x=5", "#math x 9223372036854775807 + 1", none, "x=5",
          {"[#math x: number out of range in \"9223372036854775807 + 1\"]"});
    onRow("bad expression keeps the value", "x=5", "#math x 2 +* 3", none, "x=5",
          {"[#math x: unexpected '*' in \"2 +* 3\"]"});
    onRow("blanks end a number", "x=5", "#math x 1 2", none, "x=5", {"[#math x: unexpected '2' in \"1 2\"]"});
    onRow("unclosed bracket", "", "#math x (1", none, "x=", {"[#math x: missing ')' in \"(1\"]"});
    onRow("hostile nesting is refused", "", "#math x " + QString(100000, '(') + "1" + QString(100000, ')'),
          none, "x=", {"[#math x: brackets nested too deeply in \"" + QString(40, '(') + "...\"]"});
    onRow("hostile signs cost no stack", "", "#math x " + QString(100001, '-') + "1", none, "x=-1");
    onRow("<= as written", "hp=3", "#if $hp <= 5 then low else high", {"low"});
    onRow(">= as written", "a=1", "#if $a >= 3 then x", none);
    onRow("comparison beyond 32 bits", "a=9000000000", "#if $a > 5 then big", {"big"});
    onRow("branch is a command", "t=orc", "#if 1 == 1 then #var y $t", none, "y=$t");
    onRow("branch is substituted", "t=orc", "#if 1 == 1 then kill $t", {"kill orc"});
    onRow("repeated text is a command", "t=orc", "#2 kill $t", {"kill orc", "kill orc"});
    onRow("showme shows locally", "t=orc", "#showme the $t", none, {}, {"the orc"});
    onRow("repeat up to the cap", "", "#100 x", QStringList(100, "x"));
    onRow("repeat over the cap sends nothing", "", "#101 x", none, {}, {"[#101 x: at most 100 repeats]"});
    onRow("nested repeats stop at the cap", "", "#50 #50 x", QStringList(100, "x"), {},
          {"[one line makes at most 100 commands; the rest were dropped]"});
    onRow("nesting is bounded", "", QString("#1 ").repeated(9) + "x", none, {}, {"[x: nested too deeply]"});
}

void tst_CommandProcessor::processCommand()
{
    QFETCH(bool, conveniences);
    QFETCH(QString, variables);
    QFETCH(QString, line);
    QFETCH(QStringList, expected);
    QFETCH(QString, checked);

    CommandProcessor processor;
    processor.setConveniencesEnabled(conveniences);
    for (const QString& pair : variables.split(',', Qt::SkipEmptyParts))
        processor.setVariable(pair.section('=', 0, 0), pair.section('=', 1));
    QStringList shown;
    QCOMPARE(processor.processCommand(line, &shown), expected);
    QTEST(shown, "shown");
    if (!checked.isEmpty())
        QCOMPARE(processor.getVariable(checked.section('=', 0, 0)), checked.section('=', 1));
    // Typed "#N" without repeat mode is a line like any other.
    if (line == "#100 x")
        QCOMPARE(processor.processCommand(line, &shown, false), QStringList({"#100 x"}));
}

OLVEX_TEST_MAIN(tst_CommandProcessor, QCoreApplication)
#include "tst_CommandProcessor.moc"
