#include "terminal/TerminalWidget.h"

#include <QFile>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTime>
#include <QTimer>

#include <utility>

namespace {

constexpr int kDefaultScrollback = 5000;
constexpr int kDefaultFontSize = 10;
constexpr int kMinFontSize = 6;
constexpr int kMaxFontSize = 24;
constexpr int kLineHeightPercent = 120;
// Within this many lines of the bottom the view counts as following the output.
constexpr int kLiveTailSlack = 10;
// A server line longer than this is cut into several blocks, so that one line
// cannot hold megabytes inside a scrollback that is counted in blocks.
constexpr qsizetype kMaxBlockLength = 64 * 1024;

const QColor kHighlightColor(70, 130, 180);
const QColor kFindHighlightColor(255, 255, 0, 100);
const char* const kStyleSheet = "QPlainTextEdit { background-color: #000000; } "
                                "QAbstractScrollArea { background-color: #000000; }";

// Characters at which QTextCursor::insertText starts a new block.
bool breaksBlock(QChar c) {
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == QChar::ParagraphSeparator || u == 0xfdd0 || u == 0xfdd1;
}

} // namespace

TerminalWidget::TerminalWidget(QWidget* parent)
    : QPlainTextEdit(parent) {
    setReadOnly(true);
    // The undo history would keep every line ever shown.
    document()->setUndoRedoEnabled(false);
    document()->setMaximumBlockCount(kDefaultScrollback);

    QFont terminalFont(QStringLiteral("Courier New"), kDefaultFontSize);
    terminalFont.setFixedPitch(true);
    terminalFont.setStyleStrategy(QFont::PreferAntialias);
    setFont(terminalFont);

    setLineWrapMode(QPlainTextEdit::WidgetWidth);

    QPalette colors = palette();
    colors.setColor(QPalette::Base, Qt::black);
    colors.setColor(QPalette::Text, Qt::white);
    colors.setColor(QPalette::Highlight, kHighlightColor);
    colors.setColor(QPalette::Window, Qt::black);
    setPalette(colors);
    viewport()->setPalette(colors);
    viewport()->setAutoFillBackground(true);
    setStyleSheet(QString::fromLatin1(kStyleSheet));

    connect(document(), &QTextDocument::contentsChanged, this, &TerminalWidget::onContentsChanged);
}

TerminalWidget::~TerminalWidget() = default;

void TerminalWidget::appendAnsiText(const QString& text) {
    if (frozen) {
        pendingLines.append(text);
        return;
    }
    const QString line =
        timestamps ? QTime::currentTime().toString(QStringLiteral("[hh:mm:ss] ")) + text : text;
    if (logging && logFile)
        writeLog(line);

    if (!line.isEmpty()) {
        const QList<AnsiParser::FormatRun> runs = parser.parse(line);
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        // One edit block: the layout and the listeners hear of the line once.
        cursor.beginEditBlock();
        qsizetype column = cursor.positionInBlock();
        for (const AnsiParser::FormatRun& run : runs)
            insertRun(cursor, run, column);
        if (!line.endsWith(u'\n'))
            cursor.insertText(QStringLiteral("\n"));
        cursor.endEditBlock();
    }

    if (followTail)
        scrollToBottom();
}

void TerminalWidget::insertRun(QTextCursor& cursor, const AnsiParser::FormatRun& run,
                               qsizetype& column) {
    if (run.text.isEmpty())
        return;
    qsizetype start = 0;
    for (qsizetype i = 0; i < run.text.size(); ++i) {
        const QChar c = run.text[i];
        if (breaksBlock(c)) {
            column = 0;
            continue;
        }
        // Never cut between the halves of a surrogate pair.
        if (column >= kMaxBlockLength && !c.isLowSurrogate()) {
            cursor.insertText(run.text.mid(start, i - start), run.format);
            cursor.insertBlock();
            start = i;
            column = 0;
        }
        ++column;
    }
    cursor.insertText(start == 0 ? run.text : run.text.mid(start), run.format);
}

void TerminalWidget::writeLog(const QString& text) {
    // Flushed at once so the log survives a crash of the client.
    logFile->write(text.toUtf8().append('\n'));
    logFile->flush();
}

void TerminalWidget::scrollToBottom() {
    if (scrollPending)
        return;
    scrollPending = true;
    QTimer::singleShot(0, this, &TerminalWidget::onDeferredScroll);
}

void TerminalWidget::onDeferredScroll() {
    scrollPending = false;
    QScrollBar* bar = verticalScrollBar();
    bar->setValue(bar->maximum());
    followTail = true;
}

void TerminalWidget::onContentsChanged() {
    followTail = isAtLiveTail();
}

void TerminalWidget::clearTerminal() {
    clear();
    followTail = true;
}

void TerminalWidget::setFontSize(int size) {
    if (size < kMinFontSize || size > kMaxFontSize)
        return;
    fontSize = size;
    QFont sized = font();
    sized.setPointSize(size);
    sized.setFixedPitch(true);
    setFont(sized);

    QTextBlockFormat spacing;
    spacing.setLineHeight(kLineHeightPercent, QTextBlockFormat::ProportionalHeight);
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(spacing);

    emit fontSizeChanged(size);
}

int TerminalWidget::getFontSize() const {
    return fontSize;
}

void TerminalWidget::setScrollbackLines(int lines) {
    if (lines < 1)
        return;
    document()->setMaximumBlockCount(lines);
}

bool TerminalWidget::isAtLiveTail() const {
    const QScrollBar* bar = verticalScrollBar();
    return bar->value() >= bar->maximum() - kLiveTailSlack;
}

bool TerminalWidget::findInOutput(const QString& text, bool forward, bool caseSensitive,
                                  bool useRegex) {
    if (text.isEmpty())
        return false;
    QTextDocument::FindFlags flags;
    if (!forward)
        flags |= QTextDocument::FindBackward;
    if (caseSensitive)
        flags |= QTextDocument::FindCaseSensitively;

    const QTextCursor found = useRegex
                                  ? document()->find(QRegularExpression(text), textCursor(), flags)
                                  : document()->find(text, textCursor(), flags);
    if (found.isNull())
        return false;
    setTextCursor(found);
    ensureCursorVisible();
    setExtraSelections(collectMatches(text, caseSensitive, useRegex));
    return true;
}

QList<QTextEdit::ExtraSelection> TerminalWidget::collectMatches(const QString& text,
                                                                bool caseSensitive, bool useRegex) {
    QTextDocument::FindFlags flags;
    if (caseSensitive)
        flags |= QTextDocument::FindCaseSensitively;
    const QRegularExpression expression =
        useRegex ? QRegularExpression(text) : QRegularExpression();
    QTextDocument* doc = document();
    const int documentEnd = doc->characterCount() - 1;

    QList<QTextEdit::ExtraSelection> selections;
    QTextCursor from(doc);
    for (;;) {
        const QTextCursor match =
            useRegex ? doc->find(expression, from, flags) : doc->find(text, from, flags);
        if (match.isNull())
            break;
        if (match.hasSelection()) {
            QTextEdit::ExtraSelection selection;
            selection.cursor = match;
            selection.format.setBackground(kFindHighlightColor);
            selections.append(selection);
            from = match;
            continue;
        }
        // A pattern that matches nothing at all (such as "x*") would find the
        // same spot forever: step past it.
        if (match.position() >= documentEnd)
            break;
        from = match;
        from.setPosition(match.position() + 1);
    }
    return selections;
}

void TerminalWidget::clearFindHighlights() {
    setExtraSelections({});
}

void TerminalWidget::setFrozen(bool freeze) {
    if (freeze == frozen)
        return;
    frozen = freeze;
    if (!frozen) {
        const QStringList held = std::exchange(pendingLines, {});
        for (const QString& text : held)
            appendAnsiText(text);
        if (isAtLiveTail())
            scrollToBottom();
    }
    emit frozenChanged(frozen);
}

bool TerminalWidget::isFrozen() const {
    return frozen;
}

void TerminalWidget::setFontFamily(const QString& family) {
    fontFamily = family;
    QFont changed = font();
    changed.setFamily(family);
    setFont(changed);
}

QString TerminalWidget::getFontFamily() const {
    return fontFamily;
}

void TerminalWidget::setTimestamps(bool enabled) {
    timestamps = enabled;
}

bool TerminalWidget::getTimestamps() const {
    return timestamps;
}

void TerminalWidget::setWordWrap(bool enabled) {
    wordWrap = enabled;
    setLineWrapMode(enabled ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
}

bool TerminalWidget::getWordWrap() const {
    return wordWrap;
}

void TerminalWidget::setLogging(bool enabled, const QString& path) {
    logFile.reset();
    logging = enabled;
    logPath = path;
    if (!enabled || path.isEmpty())
        return;
    logFile = std::make_unique<QFile>(path);
    if (!logFile->open(QIODevice::Append | QIODevice::Text)) {
        logFile.reset();
        logging = false;
    }
}

bool TerminalWidget::getLogging() const {
    return logging;
}
