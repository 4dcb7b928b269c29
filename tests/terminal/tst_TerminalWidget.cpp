#include <QApplication>
#include <QDesktopServices>
#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "terminal/TerminalWidget.h"

class tst_TerminalWidget : public QObject {
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { opened << url.toString(); } // the desktop's browser, for the test

private:
    QStringList opened;

private slots:
    void clickOpensLinksWhenEnabled();
    void appendsLinesAndCarriesColours();
    void followsTailUnlessScrolledBack_data();
    void followsTailUnlessScrolledBack();
    void scrollbackBoundsLongLinesToo();
    void distinctColoursKeepMemoryBounded();
    void freezeHoldsThenReplaysIntoLog_data();
    void freezeHoldsThenReplaysIntoLog();
    void drawsOneLinePerServerLine_data();
    void drawsOneLinePerServerLine();
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

void tst_TerminalWidget::followsTailUnlessScrolledBack_data()
{
    QTest::addColumn<QString>("how"); // "up N": the bar set N lines above its end
    QTest::addColumn<int>("lines");   // before scrolling back; the scrollback holds 300
    QTest::addColumn<bool>("resize"); // a font-size change while scrolled back
    QTest::addColumn<bool>("follows");
    QTest::newRow("at bottom") << "up 0" << 400 << false << true;
    QTest::newRow("ten up") << "up 10" << 400 << false << true;
    QTest::newRow("eleven up") << "up 11" << 400 << false << false;
    for (const char* how : {"PageUp", "scroll bar", "wheel"}) {
        QTest::addRow("%s below limit", how) << how << 200 << false << false;
        QTest::addRow("%s at limit", how) << how << 400 << false << false;
        QTest::addRow("%s font size", how) << how << 400 << true << false;
    }
}

void tst_TerminalWidget::followsTailUnlessScrolledBack()
{
    QFETCH(QString, how);
    QFETCH(int, lines);
    QFETCH(bool, resize);
    QFETCH(bool, follows);
    TerminalWidget terminal;
    terminal.setScrollbackLines(300);
    terminal.resize(400, 300);
    terminal.show();
    QVERIFY(QTest::qWaitForWindowExposed(&terminal));
    for (int i = 0; i < lines; ++i)
        terminal.appendAnsiText(QString("line %1").arg(i));
    QScrollBar* bar = terminal.verticalScrollBar();
    QTRY_VERIFY(bar->value() > 100 && bar->value() == bar->maximum());

    if (how.startsWith("up "))
        bar->setValue(bar->maximum() - how.mid(3).toInt());
    for (int i = 0; i < 5 && !how.startsWith("up "); ++i) {
        if (how == "PageUp") {
            QTest::keyClick(&terminal, Qt::Key_PageUp);
        } else if (how == "scroll bar") {
            bar->triggerAction(QAbstractSlider::SliderPageStepSub);
        } else {
            const QPointF at = terminal.viewport()->rect().center();
            QWheelEvent wheel(at, terminal.viewport()->mapToGlobal(at), {}, {0, 120}, Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(terminal.viewport(), &wheel);
        }
    }
    QVERIFY(follows || bar->value() < bar->maximum() - 10);
    if (resize)
        terminal.setFontSize(12);
    QCoreApplication::processEvents();
    const QString shown = terminal.cursorForPosition({2, 2}).block().text();
    for (int i = 0; i < 5; ++i) {
        terminal.appendAnsiText(""); // the session hands over empty texts between lines
        terminal.appendAnsiText("more");
        QCoreApplication::processEvents();
    }
    QCOMPARE(terminal.document()->blockCount(), qMin(lines + 5 + 1, 300)); // and the open last line
    // Not following, the view keeps its text while the lines above it go.
    if (follows)
        QCOMPARE(bar->value(), bar->maximum());
    else
        QCOMPARE(terminal.cursorForPosition({2, 2}).block().text(), shown);
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
        QVERIFY(block.length() <= 4096 + 1);
    // Several lines in one piece, with every kind of line break, at the limit.
    terminal.appendAnsiText("x\r\ny\rz");
    QCOMPARE(terminal.document()->blockCount(), 10);
    QVERIFY(terminal.toPlainText().endsWith("789end\nx\nyz\n"));
    // A line changing colour 600 times is cut too: at most 256 colour runs a line.
    QString rainbow;
    for (int i = 0; i < 600; ++i)
        rainbow += QString("\033[3%1m%2").arg(i % 8).arg(i % 10);
    terminal.appendAnsiText(rainbow);
    QCOMPARE(terminal.document()->lastBlock().previous().text().size(), 600 - 2 * 256);
}

void tst_TerminalWidget::distinctColoursKeepMemoryBounded()
{
    TerminalWidget terminal;
    terminal.setScrollbackLines(100);
    terminal.setFontSize(12);
    const auto line = [](int n) {
        return QString("\033[38;2;%1;%2;%3mline %4").arg(n & 255).arg(n >> 8 & 255).arg(n >> 16).arg(n);
    };
    for (int n = 0; n < 25000; ++n) {
        terminal.appendAnsiText(line(n));
        QVERIFY2(terminal.document()->allFormats().size() <= 20001, qPrintable(QString::number(n)));
    }
    // The scrollback looks as it did: text, colours, line height, limit.
    QTextDocument* doc = terminal.document();
    QCOMPARE(doc->blockCount(), 100);
    QCOMPARE(doc->maximumBlockCount(), 100);
    for (QTextBlock block = doc->begin(); block.next().isValid(); block = block.next()) {
        const int n = 25000 - 99 + block.blockNumber();
        QCOMPARE(block.text(), QString("line %1").arg(n));
        QCOMPARE(block.begin().fragment().charFormat().foreground().color(),
                 QColor(n & 255, n >> 8 & 255, n >> 16));
        QCOMPARE(block.blockFormat().lineHeight(), 120.0);
    }
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog_data()
{
    QTest::addColumn<bool>("timestamps");
    QTest::addColumn<bool>("linesStayOpen");
    QTest::addColumn<QString>("logged"); // stamps removed
    QTest::addColumn<QString>("shown");
    // Each text is logged with a line feed of its own; empty texts leave no trace.
    const QString pieces = "\033[31mfirst\n\nName: \nBob\n\nthird\n\n";
    const QString joined = "\033[31mfirst\n\nName: Bob\n\nthird\n\n";
    QTest::newRow("plain") << false << false << pieces << "first\nName: \nBob\nthird\n";
    QTest::newRow("timestamps") << true << false << pieces << "first\nName: \nBob\nthird\n";
    QTest::newRow("open lines") << false << true << joined << "first\nName: Bob\nthird\n";
    QTest::newRow("open lines, timestamps") << true << true << joined << "first\nName: Bob\nthird\n";
}

void tst_TerminalWidget::freezeHoldsThenReplaysIntoLog()
{
    QFETCH(bool, timestamps);
    QFETCH(bool, linesStayOpen);
    QFETCH(QString, logged);
    QFETCH(QString, shown);
    QTemporaryDir dir;
    const QString path = dir.filePath("session.log");
    TerminalWidget terminal;
    terminal.setTimestamps(timestamps);
    terminal.setLinesStayOpen(linesStayOpen);
    terminal.setLogging(true, path);
    QSignalSpy frozenSpy(&terminal, &TerminalWidget::frozenChanged);
    const auto readLog = [&] {
        return QString::fromUtf8(QFile::exists(path) ? readFile(path) : "");
    };

    terminal.appendAnsiText("");
    QVERIFY(readLog().isEmpty());
    terminal.appendAnsiText("\033[31mfirst\n");
    terminal.setFrozen(true);
    terminal.setFrozen(true);
    // A line in two pieces, as a prompt shown before the rest of its line came.
    for (const char* text : {"", "Name: ", "", "Bob\n", "", "third\n", ""})
        terminal.appendAnsiText(text);
    QCOMPARE(terminal.document()->blockCount(), 2);
    QCOMPARE(readLog().count('\n'), 2);
    terminal.setFrozen(false);
    QCOMPARE(frozenSpy.count(), 2);

    // Held texts reach the log and the screen only now, stamped with the replay time.
    QString log = readLog();
    QString onScreen = terminal.toPlainText();
    const QRegularExpression stamp("^\\[\\d\\d:\\d\\d:\\d\\d\\] ", QRegularExpression::MultilineOption);
    const int lines = shown.count('\n');
    QCOMPARE(log.count(stamp), timestamps ? lines : 0);
    QCOMPARE(onScreen.count(stamp), timestamps ? lines : 0);
    QCOMPARE(log.remove(stamp), logged);
    QCOMPARE(onScreen.remove(stamp), shown);

    terminal.setLogging(true, dir.filePath("missing/dir/x.log"));
    QVERIFY(!terminal.getLogging());
}

void tst_TerminalWidget::drawsOneLinePerServerLine_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("linesStayOpen");
    QTest::addColumn<QString>("shown");
    QTest::newRow("highlighted CR LF")
        << QStringList{"\033[1;31mYou are hit!\r\033[0m\n", "next\r\n"} << false << "You are hit!\nnext\n";
    QTest::newRow("lone CR") << QStringList{"a\rb"} << false << "ab\n";
    QTest::newRow("bell and tab") << QStringList{"\aBeep\tX\x7f"} << false << "Beep\tX\n";
    QTest::newRow("option bytes") << QStringList{QString::fromLatin1("\xff\xfb\x01\xff\xfd\x18\x61\x1b\x9b")}
                                  << false << QString::fromLatin1("\xff\xfb\xff\xfd\x61\n");
    QTest::newRow("separators") << QStringList{QString("a") + QChar(0x2029) + "b" + QChar(0x2028) + "c"}
                                << false << "abc\n";
    QTest::newRow("pieces") << QStringList{"HP: ", "20\n"} << false << "HP: \n20\n";
    QTest::newRow("prompt, then its line")
        << QStringList{"\033[1mHP: ", "\033[3", "", "2m20\n", "x"} << true << "HP: 20\nx";
    // "=" starts an echoed command, "!" a notice of the client's own: both end
    // an open prompt line, and the server's break that follows is not shown.
    QTest::newRow("echo completes the prompt")
        << QStringList{"> ", "=look\n", "!shown\n", "\r\nRoom\r\n"} << true << "> look\nshown\nRoom\n";
    QTest::newRow("notice gets its own line") << QStringList{"> ", "!note\n", "\nRoom\n"} << true
                                              << "> \nnote\nRoom\n";
    QTest::newRow("closed lines keep every break")
        << QStringList{"> ", "=look\n", "\r\nRoom\n"} << false << "> \nlook\n\nRoom\n";
}

void tst_TerminalWidget::drawsOneLinePerServerLine()
{
    QFETCH(QStringList, texts);
    QFETCH(bool, linesStayOpen);
    QFETCH(QString, shown);
    TerminalWidget terminal;
    terminal.setLinesStayOpen(linesStayOpen);
    for (const QString& text : texts) {
        if (text.startsWith('=') || text.startsWith('!'))
            terminal.appendClientLine(text.mid(1), text.startsWith('='));
        else
            terminal.appendAnsiText(text);
    }
    QCOMPARE(terminal.toPlainText(), shown);
}

void tst_TerminalWidget::clickOpensLinksWhenEnabled()
{
    QDesktopServices::setUrlHandler("https", this, "openUrl");
    for (const bool enabled : {false, true}) {
        TerminalWidget terminal;
        terminal.setLinksEnabled(enabled);
        terminal.resize(600, 200);
        terminal.show();
        QVERIFY(QTest::qWaitForWindowExposed(&terminal));
        terminal.appendAnsiText("\033[32mRead \033[1mhttps://olvex.example/news\033[0m, then play.");
        QCoreApplication::processEvents();
        QTextCursor at(terminal.document());
        at.setPosition(int(QString("Read https://olv").size()));
        QTest::mouseClick(terminal.viewport(), Qt::LeftButton, {}, terminal.cursorRect(at).center());
        QCOMPARE(opened, enabled ? QStringList{"https://olvex.example/news"} : QStringList{});
    }
    QDesktopServices::unsetUrlHandler("https");
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
