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
    QTRY_VERIFY(bar->maximum() > 200 && bar->value() == bar->maximum());

    bar->setValue(bar->maximum() - linesUp);
    const int before = bar->value();
    for (int i = 0; i < 3; ++i)
        terminal.appendAnsiText("more");
    QCoreApplication::processEvents();
    QCOMPARE(terminal.document()->blockCount(), 300);
    QCOMPARE(bar->value(), follows ? bar->maximum() : before);
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
    // "found"/"missed", the selected line and how many matches are marked.
    const auto find = [&](const QString& text, bool forward, bool caseSensitive = false, bool regex = false) {
        const bool found = terminal.findInOutput(text, forward, caseSensitive, regex);
        return QString("%1 %2 %3")
            .arg(found ? "found" : "missed")
            .arg(terminal.textCursor().block().blockNumber())
            .arg(terminal.extraSelections().size());
    };

    QVERIFY(!terminal.findInOutput("", true, false, false));
    QCOMPARE(find("apple", false), "found 3 3"); // output pushed the cursor to the end
    terminal.moveCursor(QTextCursor::Start);
    QCOMPARE(find("apple", true), "found 0 3");
    QCOMPARE(find("apple", true), "found 2 3");
    QCOMPARE(find("apple", true), "found 3 3");
    QCOMPARE(find("apple", true), "missed 3 3"); // no wrap-around
    QCOMPARE(find("apple", false, true), "found 2 2");
    QVERIFY(!terminal.findInOutput("(", true, false, true));
    // Patterns that also match nothing must not stall the highlight loop.
    QCOMPARE(find("a*", true, false, true).section(' ', 2), "6");
}

void tst_TerminalWidget::fontSizeStaysWithinBounds()
{
    TerminalWidget terminal;
    QSignalSpy spy(&terminal, &TerminalWidget::fontSizeChanged);
    for (int size : {5, 25, 6, 4, 24})
        terminal.setFontSize(size);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(terminal.font().pointSize(), 24);
    terminal.setFontFamily("DejaVu Sans Mono"); // a new family keeps the size
    QCOMPARE(terminal.font().pointSize(), 24);
}

OLVEX_TEST_MAIN(tst_TerminalWidget, QApplication)
#include "tst_TerminalWidget.moc"
