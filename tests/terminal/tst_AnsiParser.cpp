#include <QtTest>

#include "support/TestEnvironment.h"
#include "terminal/AnsiParser.h"

namespace {
QString joinedText(const QList<AnsiParser::FormatRun>& runs)
{
    QString text;
    for (const auto& run : runs)
        text += run.text;
    return text;
}
} // namespace

class tst_AnsiParser : public QObject {
    Q_OBJECT

private slots:
    void sgrSetsColoursAndAttributes_data();
    void sgrSetsColoursAndAttributes();
    void stateCarriesOverAndSplitsRuns();
    void stripsOtherControlSequences();
    void hostileInputIsHandled();
};

void tst_AnsiParser::sgrSetsColoursAndAttributes_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QColor>("foreground");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<QString>("attributes"); // b = bold, i = italic, u = underline

    const QColor white(255, 255, 255), black(0, 0, 0);
    QTest::newRow("plain") << "X" << white << black << "";
    QTest::newRow("pure red") << "\033[31mX" << QColor(255, 0, 0) << black << "";
    QTest::newRow("bold brightens") << "\033[1;31mX" << QColor(255, 85, 85) << black << "b";
    QTest::newRow("39 keeps bright") << "\033[31;1m\033[39mX" << QColor(255, 85, 85) << black << "b";
    QTest::newRow("94 keeps bright") << "\033[31;94;1mX" << QColor(255, 85, 85) << black << "b";
    QTest::newRow("256 no brighten") << "\033[1;38;5;1mX" << QColor(170, 0, 0) << black << "b";
    QTest::newRow("256 clears basic") << "\033[31;38;5;2;1mX" << QColor(0, 170, 0) << black << "b";
    QTest::newRow("cube") << "\033[38;5;196mX" << QColor(255, 0, 0) << black << "";
    QTest::newRow("grey") << "\033[38;5;244mX" << QColor(128, 128, 128) << black << "";
    QTest::newRow("256 too big") << "\033[31;38;5;300mX" << white << black << "";
    QTest::newRow("256 bg") << "\033[48;5;9mX" << white << QColor(255, 85, 85) << "";
    QTest::newRow("256 bg too big") << "\033[48;5;300mX" << white << white << "";
    QTest::newRow("truecolour") << "\033[38;2;10;20;30mX" << QColor(10, 20, 30) << black << "";
    QTest::newRow("truecolour out of range") << "\033[38;2;300;0;0mX" << QColor() << black << "";
    QTest::newRow("missing blue") << "\033[38;2;10;20mX" << QColor(10, 20, 0) << black << "";
    QTest::newRow("short truecolour") << "\033[38;2;1mX" << white << black << "b";
    QTest::newRow("unknown selector") << "\033[38;7;4mX" << white << black << "u";
    QTest::newRow("dangling 38") << "\033[32;38mX" << QColor(0, 255, 0) << black << "";
    QTest::newRow("22 clears italic") << "\033[1;3;4m\033[22mX" << white << black << "u";
    QTest::newRow("ignored codes") << "\033[2;5;7;8;9;53;108mX" << white << black << "";
    QTest::newRow("49") << "\033[44;49mX" << white << black << "";
    QTest::newRow("light") << "\033[91;103mX" << QColor(255, 128, 128) << QColor(255, 255, 128) << "";
    QTest::newRow("semicolons only") << "\033[31m\033[;mX" << QColor(255, 0, 0) << black << "";
    QTest::newRow("empty resets") << "\033[1;31;44m\033[mX" << white << black << "";
    QTest::newRow("leading zeros") << "\033[00031mX" << QColor(255, 0, 0) << black << "";
    // 2^32 + 31 must be dropped, not wrapped round to 31.
    QTest::newRow("over 32 bits") << "\033[4294967327mX" << white << black << "";
    QTest::newRow("over 32 bits kept rest") << "\033[99999999999;32mX" << QColor(0, 255, 0) << black << "";
}

void tst_AnsiParser::sgrSetsColoursAndAttributes()
{
    QFETCH(QString, input);
    QFETCH(QColor, foreground);
    QFETCH(QColor, background);
    QFETCH(QString, attributes);

    AnsiParser parser;
    const auto runs = parser.parse(input);
    QCOMPARE(runs.size(), 1);
    QCOMPARE(runs[0].text, QString("X"));
    const QTextCharFormat& format = runs[0].format;
    QCOMPARE(format.foreground().color(), foreground);
    QCOMPARE(format.background().color(), background);
    QCOMPARE(format.fontWeight(), attributes.contains('b') ? 700 : 400);
    QCOMPARE(format.fontItalic(), attributes.contains('i'));
    QCOMPARE(format.underlineStyle() == QTextCharFormat::SingleUnderline, attributes.contains('u'));
}

void tst_AnsiParser::stateCarriesOverAndSplitsRuns()
{
    AnsiParser parser;
    auto runs = parser.parse("a\033[32mb\033[1m\033[4mc\033[0m");
    QCOMPARE(runs.size(), 3);
    QCOMPARE(joinedText(runs), QString("abc"));
    QCOMPARE(runs[2].format.foreground().color(), QColor(85, 255, 85));
    QVERIFY(runs[2].format.fontUnderline());

    // The reset at the end of the last call holds; a colour set alone carries on.
    QCOMPARE(parser.parse("d")[0].format.foreground().color(), QColor(255, 255, 255));
    QVERIFY(parser.parse("\033[1;33m").isEmpty());
    QCOMPARE(parser.parse("next line")[0].format.foreground().color(), QColor(255, 255, 85));
    parser.reset();
    QCOMPARE(parser.parse("e")[0].format.fontWeight(), 400);
    QVERIFY(parser.parse("").isEmpty());
}

void tst_AnsiParser::stripsOtherControlSequences()
{
    // Erase and private modes go; a lone ESC, an unfinished sequence at the end
    // and one cut short by the next ESC stay; removal is one pass, so a removed
    // sequence can join the text around it into an SGR. (That the scanner
    // leaves what the equivalent regular expressions leave, for any input, is
    // the property fuzz_AnsiParser checks.)
    const QList<QPair<QString, QString>> cases = {{"\033[2Jabc", "abc"},
                                                  {"a\033[?25lb", "ab"},
                                                  {"a\033b", "a\033b"},
                                                  {"abc\033[12", "abc\033[12"},
                                                  {"a\033[1{\033[31mb", "a\033[1{b"},
                                                  {"\033\033[2J[31mX", "X"}};
    for (const auto& [input, text] : cases) {
        QCOMPARE(joinedText(AnsiParser().parse(input)), text);
        QCOMPARE(AnsiParser::plainText(input), text);
    }
}

void tst_AnsiParser::hostileInputIsHandled()
{
    AnsiParser parser;
    const QString digits(200000, '9');
    QCOMPARE(joinedText(parser.parse("\033[" + digits + ";31mX")), QString("X"));
    QCOMPARE(parser.parse("Y")[0].format.foreground().color(), QColor(255, 0, 0));
    QCOMPARE(joinedText(parser.parse("\033[" + QString(200000, ';') + "mX")), QString("X"));

    const QString unterminated = "\033[" + QString(1 << 20, '{');
    QCOMPARE(joinedText(parser.parse(unterminated)), unterminated);
    const QString manyStarts = QString("\033[1{").repeated(100000);
    QCOMPARE(joinedText(parser.parse(manyStarts)), manyStarts);
    const QString manyColours = QString("\033[31mab").repeated(100000);
    QCOMPARE(parser.parse(manyColours).size(), 100000);
}

OLVEX_TEST_MAIN(tst_AnsiParser, QCoreApplication)
#include "tst_AnsiParser.moc"
