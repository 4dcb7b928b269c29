#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// Cuts server text into lines for a session. Text after the last line feed
// waits until its line feed comes. For servers that mark prompts (standard
// telnet), a waiting text can also be finished as a prompt, or shown early
// and completed later on the same screen line; the assembler remembers what
// the screen already has, so nothing is shown twice and nothing is glued to
// a finished prompt.
class LineAssembler final {
public:
    // A server that never sends a line feed must not grow the pending line
    // without bound: at this many characters it is delivered as a line.
    static constexpr qsizetype kMaxPendingLine = 64 * 1024;

    struct Line {
        QString text;             // the whole line without its line feed; a CR before it stays
        qsizetype shown = 0;      // leading characters of text already on screen
        bool breakBefore = false; // the screen line holds a finished prompt: start a new one first
    };

    // Adds received text and calls onLine(Line&&) for every line it completes,
    // in order.
    template <typename OnLine> void append(QStringView text, OnLine&& onLine);

    // The server marked the end of a prompt (IAC GA or IAC EOR): the pending
    // text is a finished line that no line feed ends. Nothing when none waits.
    std::optional<Line> endPrompt();

    // The part of the pending text that is not on screen yet, to show now (a
    // line break first when a finished prompt holds the screen line); empty
    // when there is nothing new. A trailing CR waits for its line feed.
    QString showPending();

    const QString& pending() const { return pendingLine; }

private:
    Line takeLine();

    QString pendingLine;
    qsizetype shownLength = 0;
    bool promptOnScreen = false;
};

template <typename OnLine> void LineAssembler::append(QStringView text, OnLine&& onLine)
{
    // The connection hands text on one character at a time, so nearly every
    // call brings a single character that only extends the pending line.
    if (text.size() == 1 && text.front() != u'\n' && pendingLine.size() < kMaxPendingLine) {
        pendingLine.append(text.front());
        return;
    }
    // Only the new text is scanned for line feeds: the pending line is never
    // searched again, so a long line costs the same as many short ones.
    qsizetype start = 0;
    while (start < text.size()) {
        const qsizetype lineFeed = text.indexOf(u'\n', start);
        const qsizetype end = lineFeed < 0 ? text.size() : lineFeed;
        while (start < end) {
            if (pendingLine.size() >= kMaxPendingLine)
                onLine(takeLine());
            const qsizetype take = qMin<qsizetype>(kMaxPendingLine - pendingLine.size(), end - start);
            pendingLine.append(text.mid(start, take));
            start += take;
        }
        if (lineFeed < 0)
            break;
        onLine(takeLine());
        start = lineFeed + 1;
    }
}
