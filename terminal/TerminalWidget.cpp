#include "terminal/TerminalWidget.h"

#include <QAbstractTextDocumentLayout>
#include <QDesktopServices>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTime>
#include <QTimer>
#include <QUrl>

#include <optional>
#include <utility>

#include "terminal/TerminalDocument.h"
#include "terminal/TerminalText.h"
#include "ui/Theme.h"

namespace {

constexpr int kDefaultScrollback = 5000;
constexpr int kLineHeightPercent = 120;
// Within this many lines of the bottom the view counts as following the output.
constexpr int kLiveTailSlack = 10;
// A server line longer than this, or with more colour changes than this, is
// cut into several lines. Laying out a line costs more than in proportion to
// its length and its format changes, and a line is always laid out whole: a
// 64 KiB line changing colour at every character would stall the event loop
// for some 100 ms each time it is shown. Ordinary lines stay far below both.
constexpr qsizetype kMaxBlockLength = 4096;
constexpr qsizetype kMaxRunsPerBlock = 256;
// Longer lines do not keep their shaped glyphs (see insertLine): the memory a
// line may hold stays small even when the server sends huge ones.
constexpr qsizetype kMaxGlyphCachedBlockLength = 4096;
// The scrollback is counted in lines, but a server can make every line 64 KiB
// long: 5000 of them would hold 650 MB of text. Beyond this many characters
// (16 MB of text, some fifty times what 5000 ordinary lines hold) the oldest
// lines go even below the line limit.
constexpr int kMaxScrollbackCharacters = 8 * 1024 * 1024;
// The document keeps every distinct character format it has ever been given,
// even after the text that used it is gone: a server sending a new 24-bit
// colour on every line would grow it by some 500 bytes a line, without end.
// When the count passes this limit (or twice what the scrollback itself used
// at the last compaction, whichever is more) the document is rebuilt from its
// own content, which keeps only the formats still in use.
constexpr int kFormatCompactionThreshold = 20000;

const QColor kHighlightColor(70, 130, 180);
const QColor kFindHighlightColor(255, 255, 0, 100);

} // namespace

TerminalWidget::TerminalWidget(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    // The undo history would keep every line ever shown.
    document()->setUndoRedoEnabled(false);
    document()->setMaximumBlockCount(kDefaultScrollback);
    formatCompactionThreshold = kFormatCompactionThreshold;

    QFont terminalFont(QStringLiteral("Courier New"), Theme::kDefaultFontSize);
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
    setStyleSheet(Theme::terminalStyleSheet());
    // An opaque viewport spares every parent widget a repaint of this area
    // for each new line; paintEvent then clears what the text does not cover.
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);

    // Following the output is the player's choice, made by scrolling: only a
    // change of the scroll position decides it. Judged on every change of the
    // text instead, a burst of lines (or an empty piece of text) would read a
    // range not yet updated and pull a player who scrolled back to the bottom.
    // The view moves its scroll bar with signals blocked for page keys and
    // page clicks, so the view's own report of scrolling is what is watched.
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect&, int dy) {
        if (dy != 0)
            onScrolled();
    });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &TerminalWidget::onScrolled);
}

TerminalWidget::~TerminalWidget() = default;

void TerminalWidget::appendAnsiText(const QString& text)
{
    // The session hands over a text for nearly every byte it receives, most of
    // them empty: they must leave no stamp, no log line and no queued entry.
    if (text.isEmpty())
        return;
    if (frozen) {
        pendingLines.append(text);
        return;
    }
    const QString stamp = timestamps && lines.startsLine()
                              ? QTime::currentTime().toString(QStringLiteral("[hh:mm:ss] "))
                              : QString();
    const TerminalLines::Piece piece = lines.add(text, stamp);
    if (piece.shown.isEmpty() && piece.logLine.isNull())
        return; // nothing left of it (a line break the client already made)
    if (!piece.leavesOpen)
        log.write(piece.logLine);
    insertLine(piece.shown, piece.leavesOpen);
    if (document()->allFormats().size() > formatCompactionThreshold)
        compactFormats();

    if (followTail)
        scrollToBottom();
}

void TerminalWidget::appendClientLine(const QString& line, bool continuesOpenLine)
{
    if (frozen) { // replayed later as it came
        appendAnsiText(line);
        return;
    }
    const bool endsOpenLine = !lines.startsLine();
    // A break still owed by the server is owed after this line too.
    const bool skipBreak = endsOpenLine || lines.skipsNextBreak();
    if (endsOpenLine && !continuesOpenLine)
        appendAnsiText(QStringLiteral("\n"));
    appendAnsiText(line);
    if (skipBreak)
        lines.skipNextBreak();
}

void TerminalWidget::insertLine(const QString& line, bool leaveOpen)
{
    QTextDocument* doc = document();
    const qsizetype column = doc->lastBlock().length() - 1;
    const QList<AnsiParser::FormatRun> runs = TerminalText::cutLongLines(
        TerminalText::drawableRuns(parser.parse(line)), column, kMaxBlockLength, kMaxRunsPerBlock);
    const bool needsLineEnd = !leaveOpen && !line.endsWith(u'\n');
    int newBlocks = needsLineEnd ? 1 : 0;
    int newCharacters = 0;
    for (const AnsiParser::FormatRun& run : runs) {
        newBlocks += TerminalText::countLineFeeds(run.text);
        newCharacters += int(run.text.size());
    }
    const int dropped = dropOldestBlocks(newBlocks, newCharacters);

    // At the scrollback limit the line count stays put, so the view's geometry
    // changes at most by the new line's wrapping. Telling the view once per
    // event-loop turn instead of once per line spares laying out the lines of a
    // burst that scroll past before they are ever painted.
    std::optional<QSignalBlocker> quietLayout;
    const bool atLimit = dropped >= newBlocks;
    if (atLimit) {
        quietLayout.emplace(doc->documentLayout());
        layoutStale = true; // the deferred update also repaints
        scheduleDeferredUpdate();
    } else if (dropped > 0) {
        viewport()->update();
    }

    QTextCursor cursor(doc);
    // One edit block: the layout and the listeners hear of the line once.
    // Positioning inside it also spares laying out the last block.
    cursor.beginEditBlock();
    const int lineStart = doc->characterCount() - 1;
    cursor.setPosition(lineStart);
    // The line end goes in with the last run: one insertion fewer per line.
    for (qsizetype i = 0; i < runs.size(); ++i) {
        const AnsiParser::FormatRun& run = runs[i];
        if (needsLineEnd && i == runs.size() - 1)
            cursor.insertText(run.text + u'\n', run.format);
        else
            cursor.insertText(run.text, run.format);
    }
    if (needsLineEnd && runs.isEmpty())
        cursor.insertText(QStringLiteral("\n"));
    if (linksEnabled)
        TerminalDocument::markLinks(doc, runs, lineStart);
    cursor.endEditBlock();

    // While the view follows a full scrollback, every line on screen is
    // repainted as each new line pushes it up, so new lines keep their glyphs
    // until they leave the view at the top (releaseHiddenLayouts).
    if (atLimit && followTail)
        TerminalDocument::keepGlyphsOfLastBlocks(doc, newBlocks + 1, kMaxGlyphCachedBlockLength);
}

void TerminalWidget::releaseHiddenLayouts()
{
    TerminalDocument::releaseLayoutsBefore(firstVisibleBlock());
}

int TerminalWidget::dropOldestBlocks(int incomingBlocks, int incomingCharacters)
{
    QTextDocument* doc = document();
    const int limit = doc->maximumBlockCount();
    int excess = limit > 0 ? doc->blockCount() + incomingBlocks - limit : 0;
    const int overBudget = doc->characterCount() + incomingCharacters - kMaxScrollbackCharacters;
    if (overBudget > 0)
        excess = qMax(excess, doc->findBlock(overBudget).blockNumber() + 1);
    excess = qMin(excess, doc->blockCount() - 1);
    if (excess <= 0)
        return 0;
    // The scroll bar counts lines from the top; a player reading back keeps
    // the same text in view when the lines above it are dropped.
    QScrollBar* bar = verticalScrollBar();
    // Left to the document, trimming would lay out the doomed first line and
    // announce the shrinking size on its own. Done here just before the
    // insertion, whose size announcement covers both, the layout can stay quiet
    // and only a repaint is owed.
    const QSignalBlocker quietLayout(doc->documentLayout());
    const int droppedLines = TerminalDocument::removeFirstBlocks(doc, excess);
    if (!followTail)
        bar->setValue(qMax(0, bar->value() - droppedLines));
    return excess;
}

void TerminalWidget::compactFormats()
{
    QTextDocument* doc = document();
    const int scrolledTo = verticalScrollBar()->value();
    setExtraSelections({}); // their cursors do not survive the rebuild
    TerminalDocument::compactFormats(doc);
    formatCompactionThreshold = qMax(kFormatCompactionThreshold, 2 * int(doc->allFormats().size()));
    if (!followTail)
        verticalScrollBar()->setValue(scrolledTo);
}

void TerminalWidget::scrollToBottom()
{
    scrollPending = true;
    scheduleDeferredUpdate();
}

void TerminalWidget::scheduleDeferredUpdate()
{
    if (deferredUpdatePending)
        return;
    deferredUpdatePending = true;
    QTimer::singleShot(0, this, &TerminalWidget::onDeferredUpdate);
}

void TerminalWidget::flushLayout()
{
    if (!layoutStale)
        return;
    // The view sizes its scroll range from this notification of the layout,
    // held back while lines were appended at the scrollback limit.
    layoutStale = false;
    QAbstractTextDocumentLayout* layout = document()->documentLayout();
    emit layout->documentSizeChanged(layout->documentSize());
    viewport()->update();
}

void TerminalWidget::onDeferredUpdate()
{
    deferredUpdatePending = false;
    flushLayout(); // before scrolling, so the range is current
    if (scrollPending) {
        scrollPending = false;
        QScrollBar* bar = verticalScrollBar();
        bar->setValue(bar->maximum());
        followTail = true;
    }
    releaseHiddenLayouts();
}

void TerminalWidget::onScrolled()
{
    followTail = isAtLiveTail();
}

void TerminalWidget::clearTerminal()
{
    clear();
    lines.reset();
    followTail = true;
}

void TerminalWidget::setFontSize(int size)
{
    if (size < Theme::kMinFontSize || size > Theme::kMaxFontSize)
        return;
    fontSize = size;
    QFont sized = font();
    sized.setPointSize(size);
    sized.setFixedPitch(true);
    setFont(sized);

    TerminalDocument::setLineHeight(document(), kLineHeightPercent);
    if (followTail)
        scrollToBottom(); // the new line height moves the bottom

    emit fontSizeChanged(size);
}

void TerminalWidget::setScrollbackLines(int lines)
{
    if (lines < 1)
        return;
    document()->setMaximumBlockCount(lines);
}

bool TerminalWidget::isAtLiveTail() const
{
    const QScrollBar* bar = verticalScrollBar();
    return bar->value() >= bar->maximum() - kLiveTailSlack;
}

bool TerminalWidget::findInOutput(const QString& text, bool forward, bool caseSensitive, bool useRegex)
{
    if (text.isEmpty())
        return false;
    flushLayout(); // showing the match needs the current scroll range
    QTextDocument::FindFlags flags;
    if (!forward)
        flags |= QTextDocument::FindBackward;
    if (caseSensitive)
        flags |= QTextDocument::FindCaseSensitively;

    const QTextCursor found = useRegex ? document()->find(QRegularExpression(text), textCursor(), flags)
                                       : document()->find(text, textCursor(), flags);
    if (found.isNull())
        return false;
    setTextCursor(found);
    ensureCursorVisible();
    QList<QTextEdit::ExtraSelection> selections;
    for (const QTextCursor& match : TerminalDocument::findAll(document(), text, caseSensitive, useRegex)) {
        QTextEdit::ExtraSelection selection;
        selection.cursor = match;
        selection.format.setBackground(kFindHighlightColor);
        selections.append(selection);
    }
    setExtraSelections(selections);
    return true;
}

void TerminalWidget::clearFindHighlights()
{
    setExtraSelections({});
}

void TerminalWidget::setFrozen(bool freeze)
{
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

void TerminalWidget::setFontFamily(const QString& family)
{
    fontFamily = family;
    QFont changed = font();
    changed.setFamily(family);
    setFont(changed);
}

void TerminalWidget::setWordWrap(bool enabled)
{
    wordWrap = enabled;
    setLineWrapMode(enabled ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
}

void TerminalWidget::setLogging(bool enabled, const QString& path)
{
    log.setLogging(enabled, path);
}

bool TerminalWidget::getLogging() const
{
    return log.isLogging();
}

void TerminalWidget::setLinksEnabled(bool enabled)
{
    linksEnabled = enabled;
    viewport()->setMouseTracking(enabled);
    if (!enabled)
        viewport()->unsetCursor();
}

void TerminalWidget::mouseMoveEvent(QMouseEvent* event)
{
    QPlainTextEdit::mouseMoveEvent(event);
    if (!linksEnabled)
        return;
    const bool overLink = !anchorAt(event->position().toPoint()).isEmpty();
    viewport()->setCursor(overLink ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void TerminalWidget::mouseReleaseEvent(QMouseEvent* event)
{
    QPlainTextEdit::mouseReleaseEvent(event);
    // A click opens the link; a drag that selected text only selects.
    if (!linksEnabled || event->button() != Qt::LeftButton || textCursor().hasSelection())
        return;
    const QString href = anchorAt(event->position().toPoint());
    if (!href.isEmpty())
        QDesktopServices::openUrl(QUrl(href));
}

void TerminalWidget::paintEvent(QPaintEvent* event)
{
    // The text only paints under its glyphs; the rest of an opaque viewport
    // would show whatever was drawn there before.
    {
        QPainter painter(viewport());
        painter.fillRect(event->rect(), viewport()->palette().color(QPalette::Base));
    }
    QPlainTextEdit::paintEvent(event);
}
