#pragma once

#include <QPlainTextEdit>
#include <QString>
#include <QStringList>

#include "terminal/AnsiParser.h"
#include "terminal/TerminalLines.h"
#include "terminal/TerminalLog.h"

// The read-only, scrolling output pane of a game session. Text arrives one line
// at a time with ANSI colours; the pane keeps a bounded scrollback, follows the
// end of the output unless the player has scrolled up, can be frozen (output is
// held and replayed later), prefixes timestamps, logs raw text and finds text.
class TerminalWidget : public QPlainTextEdit {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminalWidget)

public:
    explicit TerminalWidget(QWidget* parent = nullptr);
    ~TerminalWidget() override;

    void appendAnsiText(const QString& text);
    // A line of the client's own (an echoed command, a notice). With a line
    // left open for a prompt, an echoed command (continuesOpenLine) completes
    // it, as typing does on a terminal, and any other line starts a line of its
    // own; the server's own line break that then ends the prompt is not shown
    // a second time.
    void appendClientLine(const QString& line, bool continuesOpenLine = false);
    void scrollToBottom();
    void clearTerminal();

    void setFontSize(int size);
    int getFontSize() const { return fontSize; }
    void setScrollbackLines(int lines);
    bool isAtLiveTail() const;

    bool findInOutput(const QString& text, bool forward, bool caseSensitive, bool useRegex);
    void clearFindHighlights();

    void setFrozen(bool frozen);
    bool isFrozen() const { return frozen; }
    void setFontFamily(const QString& family);
    QString getFontFamily() const { return fontFamily; }
    void setTimestamps(bool enabled) { timestamps = enabled; }
    bool getTimestamps() const { return timestamps; }
    void setWordWrap(bool enabled);
    bool getWordWrap() const { return wordWrap; }
    void setLogging(bool enabled, const QString& path);
    bool getLogging() const;

    // Off (the default), every piece of text ends its own line. On, a piece
    // without a line feed (a prompt shown before its line is complete) leaves
    // its line open and the next piece completes it: one line on screen, one
    // timestamp, one log line, written when the line is complete.
    void setLinesStayOpen(bool enabled) { lines.setLinesStayOpen(enabled); }
    // Web addresses in later output become links that open in the desktop's
    // browser on a click. Off by default.
    void setLinksEnabled(bool enabled);

signals:
    void fontSizeChanged(int size);
    void frozenChanged(bool frozen);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void onScrolled();
    void onDeferredUpdate();
    void scheduleDeferredUpdate();
    void flushLayout();
    void insertLine(const QString& line, bool leaveOpen);
    int dropOldestBlocks(int incomingBlocks, int incomingCharacters);
    void compactFormats();
    void releaseHiddenLayouts();

    AnsiParser parser;
    int fontSize = 10;
    bool followTail = true;
    bool frozen = false;
    QStringList pendingLines;
    QString fontFamily;
    bool timestamps = false;
    bool wordWrap = true;
    TerminalLog log;
    TerminalLines lines;
    bool linksEnabled = false;
    // A burst of lines within one event-loop turn costs one scroll and one
    // scroll-range update, done together on the next turn.
    bool deferredUpdatePending = false;
    bool scrollPending = false;
    bool layoutStale = false;
    int formatCompactionThreshold = 0; // set in the constructor
};
