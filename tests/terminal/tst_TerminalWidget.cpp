#include "support/TestEnvironment.h"
#include "terminal/TerminalWidget.h"

#include <QApplication>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QtTest>

class tst_TerminalWidget : public QObject {
    Q_OBJECT

private slots:
    void everyAppendEndsItsLine_data();
    void everyAppendEndsItsLine();
    void coloursCarryAcrossLinesAndClear();
    void followsTailUnlessScrolledUp_data();
    void followsTailUnlessScrolledUp();
    void scrollbackBoundsLongLinesToo();
    void freezeHoldsThenReplaysIntoLog_data();
    void freezeHoldsThenReplaysIntoLog();
    void findStepsAndHighlightsAll();
    void fontSizeStaysWithinBounds();
};

void tst_TerminalWidget::everyAppendEndsItsLine_data() {
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("shown");

    QTest::newRow("two pieces") << QStringList{"abc", "def"} << "abc\ndef\n";
    QTest::newRow("own line feed") << QStringList{"abc\n"} << "abc\n";
    QTest::newRow("empty") << QStringList{"", ""} << "";
    QTest::newRow("escapes only") << QStringList{"\033[31m"} << "\n";
    QTest::newRow("stripped") << QStringList{"\033[2Jhp 10\033[K\n"} << "hp 10\n";
}

void tst_TerminalWidget::everyAppendEndsItsLine() {
    QFETCH(QStringList, pieces);
    QFETCH(QString, shown);
    TerminalWidget terminal;
    for (const QString& piece : pieces)
        terminal.appendAnsiText(piece);
    QCOMPARE(terminal.toPlainText(), shown);
}

void tst_TerminalWidget::coloursCarryAcrossLinesAndClear() {
    TerminalWidget terminal;
    terminal.appendAnsiText("\033[32mgreen");
    terminal.appendAnsiText("still");
    const auto colourOf = [&](int block) {
        QTextCursor cursor(terminal.document()->findBlockByNumber(block));
        cursor.movePosition(QTextCursor::NextCharacter);
        return cursor.charFormat().foreground().color();
    };
    QCOMPARE(colourOf(1), QColor(0, 255, 0));
    terminal.clearTerminal();
    QVERIFY(terminal.toPlainText().isEmpty());
    terminal.appendAnsiText("after clear");
    QCOMPARE(colourOf(0), QColor(0, 255, 0));
    QCOMPARE(terminal.document()->maximumBlockCount(), 5000);
    QVERIFY(!terminal.document()->isUndoRedoEnabled());
}

void tst_TerminalWidget::followsTailUnlessScrolledUp_data() {
    QTest::addColumn<int>("linesUp");
    QTest::addColumn<bool>("follows");
    QTest::newRow("at bottom") << 0 << true;
    QTest::newRow("ten up") << 10 << true;
    QTest::newRow("eleven up") << 11 << false;
    QTest::newRow("far up") << 100 << false;
}

void tst_TerminalWidget::followsTailUnlessScrolledUp() {
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
    QCoreApplication::processEvents();
    QCOMPARE(terminal.document()->blockCount(), 300);
    if (follows)
        QCOMPARE(bar->value(), bar->maximum());
    else
        QCOMPARE(bar->value(), before);
    QCOMPARE(terminal.isAtLiveTail(), follows);
}

void tst_TerminalWidget::scrollbackBoundsLongLinesToo() {
    TerminalWidget terminal;
    terminal.setScrollbackLines(0); // ignored
    terminal.setScrollbackLines(10);
    const QString huge = QString("0123456789").repeated(100000) + "\033[31mend";
    terminal.appendAnsiText(huge);
    QCOMPARE(terminal.document()->blockCount(), 10); // 1M characters cut, oldest blocks dropped
    QVERIFY(terminal.document()->lastBlock().previous().text().endsWith("789end"));
    for (QTextBlock block = terminal.document()->begin(); block.isValid(); block = block.next())
        QVERIFY(block.length() <= 64 * 1024 + 1);
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog_data() {
    QTest::addColumn<bool>("timestamps");
    QTest::newRow("plain") << false;
    QTest::newRow("timestamps") << true;
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog() {
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
    QCOMPARE(frozenSpy.at(1).at(0).toBool(), false);

    // Held texts reach the log and the screen only now, stamped with the replay time.
    QString log = readLog();
    QString shown = terminal.toPlainText();
    const QRegularExpression stamp("^\\[\\d\\d:\\d\\d:\\d\\d\\] ",
                                   QRegularExpression::MultilineOption);
    QCOMPARE(log.count(stamp), timestamps ? 4 : 0);
    QCOMPARE(shown.count(stamp), timestamps ? 4 : 0);
    QCOMPARE(log.remove(stamp), QString("\033[31mfirst\nsecond\n\n\nthird\n"));
    QCOMPARE(shown.remove(stamp),
             QString(timestamps ? "first\nsecond\n\nthird\n" : "first\nsecond\nthird\n"));

    terminal.setLogging(false, path);
    terminal.appendAnsiText("not logged");
    QVERIFY(!readLog().contains("not logged"));
    terminal.setLogging(true, dir.filePath("missing/dir/x.log"));
    QVERIFY(!terminal.getLogging());
}

void tst_TerminalWidget::findStepsAndHighlightsAll() {
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
    QCOMPARE(terminal.textCursor().selectedText(), QString("apple"));
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

    QVERIFY(terminal.findInOutput("an+a", false, false, true));
    QCOMPARE(terminal.textCursor().selectedText(), QString("ana"));
    QCOMPARE(terminal.extraSelections().size(), 1);
    QVERIFY(!terminal.findInOutput("(", true, false, true));
    // Patterns that also match nothing must not stall the highlight loop.
    QVERIFY(terminal.findInOutput("a*", true, false, true));
    QCOMPARE(terminal.extraSelections().size(), 6);
    QVERIFY(terminal.findInOutput("^", true, false, true));
    QVERIFY(terminal.extraSelections().isEmpty());
    terminal.findInOutput("pie", true, false, false);
    terminal.clearFindHighlights();
    QVERIFY(terminal.extraSelections().isEmpty());
}

void tst_TerminalWidget::fontSizeStaysWithinBounds() {
    TerminalWidget terminal;
    QVERIFY(terminal.getFontFamily().isEmpty());
    terminal.appendAnsiText("a");
    QSignalSpy spy(&terminal, &TerminalWidget::fontSizeChanged);
    for (int rejected : {5, 25, -1}) {
        terminal.setFontSize(rejected);
        QCOMPARE(terminal.getFontSize(), 10);
    }
    QCOMPARE(spy.count(), 0);
    for (int accepted : {6, 24}) {
        terminal.setFontSize(accepted);
        QCOMPARE(terminal.getFontSize(), accepted);
        QCOMPARE(terminal.font().pointSize(), accepted);
    }
    QCOMPARE(spy.count(), 2);
    const QTextBlockFormat spacing = terminal.document()->firstBlock().blockFormat();
    QCOMPARE(spacing.lineHeight(), 120.0);
    QCOMPARE(spacing.lineHeightType(), int(QTextBlockFormat::ProportionalHeight));
    terminal.setFontFamily("DejaVu Sans Mono");
    QCOMPARE(terminal.font().pointSize(), 24);
}

OLVEX_TEST_MAIN(tst_TerminalWidget, QApplication)
#include "tst_TerminalWidget.moc"
