#pragma once

#include <QString>

// Joins the pieces of text the terminal is handed into lines. By default every
// piece is a line of its own. With lines kept open, a piece without a line
// feed (a prompt shown before the rest of its line came) leaves its line open
// and the next piece completes it, so the line is stamped once and logged
// once, when complete; an escape sequence cut short at the end of an open
// piece is held back and finished by the next piece.
class TerminalLines final {
public:
    struct Piece {
        QString shown;   // what to show now, stamp included
        bool leavesOpen; // the line goes on with the next piece
        QString logLine; // the complete line for the log; null while it is open
    };

    void setLinesStayOpen(bool enabled) { stayOpen = enabled; }
    bool startsLine() const { return openLine.isNull(); }
    Piece add(const QString& text, const QString& stamp);
    // The open line was ended by the client: the server's own line break
    // that ends it (at the start of the next piece) is dropped.
    void skipNextBreak() { breakSkipped = true; }
    bool skipsNextBreak() const { return breakSkipped; }
    void reset();

private:
    bool stayOpen = false;
    QString openLine;   // the open line as logged (stamped); null when none is open
    QString heldEscape; // the unfinished escape sequence that ended the open line
    bool breakSkipped = false;
};
