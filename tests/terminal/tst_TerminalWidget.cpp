#include <QApplication>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"

class tst_TerminalWidget : public QObject {
    Q_OBJECT

private slots:
    void appendsLinesAndCarriesColours();
    void followsTailUnlessScrolledUp_data();
    void followsTailUnlessScrolledUp();
    void scrollbackBoundsLongLinesToo();
    void freezeHoldsThenReplaysIntoLog_data();
    void freezeHoldsThenReplaysIntoLog();
    void findStepsAndHighlightsAll();
    void fontSizeStaysWithinBounds();
};

void tst_TerminalWidget::appendsLinesAndCarriesColours()
{
    TerminalWidget terminal;
    terminal.appendAnsiText("");
    QVERIFY(terminal.document()->isEmpty()); // not even a line break
    terminal.appendAnsiText("\033[32mgreen");
    terminal.appendAnsiText("still\n"); // ends its own line: no empty line after it
    terminal.appendAnsiText("\033[2Jlast");
    QCOMPARE(terminal.toPlainText(), QString("green\nstill\nlast\n"));
    const auto colourOf = [&](int block) {
        QTextCursor cursor(terminal.document()->findBlockByNumber(block));
        cursor.movePosition(QTextCursor::NextCharacter);
        return cursor.charFormat().foreground().color();
    };
    QCOMPARE(colourOf(1), QColor(0, 255, 0));
    terminal.clearTerminal(); // keeps the colour state and the scrollback bound
    terminal.appendAnsiText("after clear");
    QCOMPARE(terminal.toPlainText(), QString("after clear\n"));
    QCOMPARE(colourOf(0), QColor(0, 255, 0));
    QCOMPARE(terminal.document()->maximumBlockCount(), 5000);
}

void tst_TerminalWidget::followsTailUnlessScrolledUp_data()
{
    QTest::addColumn<int>("linesUp");
    QTest::addColumn<bool>("follows");
    QTest::newRow("at bottom") << 0 << true;
    QTest::newRow("ten up") << 10 << true;
    QTest::newRow("eleven up") << 11 << false;
    QTest::newRow("far up") << 100 << false;
}

void tst_TerminalWidget::followsTailUnlessScrolledUp()
{
    QFETCH(int, linesUp);
    QFETCH(bool, follows);
    TerminalWidget terminal;
    terminal.setScrollbackLines(300);
    terminal.resize(400, 300);
    terminal.show();
    QVERIFY(QTest::qWaitForWindowExposed(&terminal));
    for (int i = 0; i < 400; ++i) // more than the scrollback, so old lines drop out
        terminal.appendAnsiText(QString("line %1").arg(i));
    QScrollBar* bar = terminal.verticalScrollBar();
    QTRY_COMPARE(bar->value(), bar->maximum());
    QVERIFY(bar->maximum() > 200);

    bar->setValue(bar->maximum() - linesUp);
    const int before = bar->value();
    for (int i = 0; i < 3; ++i)
        terminal.appendAnsiText("more");
    QCoreApplication::processEvents();
    QCOMPARE(terminal.document()->blockCount(), 300);
    if (follows)
        QCOMPARE(bar->value(), bar->maximum());
    else
        QCOMPARE(bar->value(), before);
    QCOMPARE(terminal.isAtLiveTail(), follows);
}

void tst_TerminalWidget::scrollbackBoundsLongLinesToo()
{
    TerminalWidget terminal;
    terminal.setScrollbackLines(0); // ignored
    terminal.setScrollbackLines(10);
    terminal.appendAnsiText(QString("0123456789").repeated(100000) + "\033[31mend");
    QCOMPARE(terminal.document()->blockCount(), 10); // 1M characters cut, oldest blocks dropped
    QVERIFY(terminal.document()->lastBlock().previous().text().endsWith("789end"));
    for (QTextBlock block = terminal.document()->begin(); block.isValid(); block = block.next())
        QVERIFY(block.length() <= 64 * 1024 + 1);
    // Several lines in one piece, with every kind of line break, at the limit.
    terminal.appendAnsiText("x\r\ny\rz");
    QCOMPARE(terminal.document()->blockCount(), 10);
    QVERIFY(terminal.toPlainText().endsWith("789end\nx\ny\nz\n"));
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog_data()
{
    QTest::addColumn<bool>("timestamps");
    QTest::newRow("plain") << false;
    QTest::newRow("timestamps") << true;
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog()
{
    QFETCH(bool, timestamps);
    QTemporaryDir dir;
    const QString path = dir.filePath("session.log");
    TerminalWidget terminal;
    terminal.setTimestamps(timestamps);
    terminal.setLogging(true, path);
    QVERIFY(terminal.getLogging());
    QSignalSpy frozenSpy(&terminal, &TerminalWidget::frozenChanged);

    terminal.appendAnsiText("\033[31mfirst");
    terminal.setFrozen(true);
    terminal.setFrozen(true);
    terminal.appendAnsiText("second\n");
    terminal.appendAnsiText("");
    terminal.appendAnsiText("third");
    QCOMPARE(terminal.document()->blockCount(), 2);
    const auto readLog = [&] {
        QFile log(path);
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    };
    QCOMPARE(readLog().count('\n'), 1);
    terminal.setFrozen(false);
    QCOMPARE(frozenSpy.count(), 2);

    // Held texts reach the log and the screen only now, stamped with the replay time.
    QString log = readLog();
    QString shown = terminal.toPlainText();
    const QRegularExpression stamp("^\\[\\d\\d:\\d\\d:\\d\\d\\] ", QRegularExpression::MultilineOption);
    QCOMPARE(log.count(stamp), timestamps ? 4 : 0);
    QCOMPARE(shown.count(stamp), timestamps ? 4 : 0);
    QCOMPARE(log.remove(stamp), QString("\033[31mfirst\nsecond\n\n\nthird\n"));
    QCOMPARE(shown.remove(stamp),
             QString(timestamps ? "first\nsecond\n\nthird\n" : "first\nsecond\nthird\n"));

    terminal.setLogging(true, dir.filePath("missing/dir/x.log"));
    QVERIFY(!terminal.getLogging());
}

void tst_TerminalWidget::findStepsAndHighlightsAll()
{
    TerminalWidget terminal;
    for (const char* line : {"apple", "banana", "apple pie", "APPLE"})
        terminal.appendAnsiText(line);
    const auto selectedBlock = [&] {
        return terminal.textCursor().block().blockNumber();
    };

    QVERIFY(!terminal.findInOutput("", true, false, false));
    // Output pushes the widget's cursor along, so a search starts at the end.
    QVERIFY(terminal.findInOutput("apple", false, false, false));
    QCOMPARE(selectedBlock(), 3);
    terminal.moveCursor(QTextCursor::Start);
    QVERIFY(terminal.findInOutput("apple", true, false, false));
    QCOMPARE(selectedBlock(), 0);
    QCOMPARE(terminal.extraSelections().size(), 3);
    QVERIFY(terminal.findInOutput("apple", true, false, false));
    QVERIFY(terminal.findInOutput("apple", true, false, false));
    QCOMPARE(selectedBlock(), 3);
    QVERIFY(!terminal.findInOutput("apple", true, false, false)); // no wrap-around
    QCOMPARE(selectedBlock(), 3);
    QCOMPARE(terminal.extraSelections().size(), 3);
    QVERIFY(terminal.findInOutput("apple", false, true, false));
    QCOMPARE(selectedBlock(), 2);
    QCOMPARE(terminal.extraSelections().size(), 2);

    QVERIFY(!terminal.findInOutput("(", true, false, true));
    // Patterns that also match nothing must not stall the highlight loop.
    QVERIFY(terminal.findInOutput("a*", true, false, true));
    QCOMPARE(terminal.extraSelections().size(), 6);
}

void tst_TerminalWidget::fontSizeStaysWithinBounds()
{
    TerminalWidget terminal;
    QVERIFY(terminal.getFontFamily().isEmpty());
    terminal.appendAnsiText("a");
    QSignalSpy spy(&terminal, &TerminalWidget::fontSizeChanged);
    for (int size : {5, 25, 6, 4, 24})
        terminal.setFontSize(size);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(terminal.getFontSize(), 24);
    QCOMPARE(terminal.font().pointSize(), 24);
    const QTextBlockFormat spacing = terminal.document()->firstBlock().blockFormat();
    QCOMPARE(spacing.lineHeight(), 120.0);
    QCOMPARE(spacing.lineHeightType(), int(QTextBlockFormat::ProportionalHeight));
    terminal.setFontFamily("DejaVu Sans Mono");
    QCOMPARE(terminal.getFontFamily(), QString("DejaVu Sans Mono"));
    QCOMPARE(terminal.font().pointSize(), 24);
}

OLVEX_TEST_MAIN(tst_TerminalWidget, QApplication)
#include "tst_TerminalWidget.moc"
