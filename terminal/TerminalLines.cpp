#include "terminal/TerminalLines.h"

#include <utility>

#include "terminal/TerminalText.h"

namespace {

// Longest unfinished escape sequence held back for the rest of an open line;
// anything longer is shown as it is.
constexpr qsizetype kMaxHeldEscape = 256;

} // namespace

TerminalLines::Piece TerminalLines::add(const QString& received, const QString& stamp)
{
    QString text = received;
    if (std::exchange(breakSkipped, false)) {
        text.remove(0, text.startsWith(QLatin1String("\r\n")) ? 2 : text.startsWith(u'\n') ? 1 : 0);
        if (text.isEmpty())
            return {};
    }
    Piece piece{{}, stayOpen && !text.endsWith(u'\n'), {}};
    if (piece.leavesOpen) {
        openLine += stamp + text;
    } else {
        piece.logLine = std::exchange(openLine, QString()) + stamp + text;
    }

    QString shown = std::exchange(heldEscape, QString()) + text;
    if (piece.leavesOpen) {
        const qsizetype cut = TerminalText::unfinishedEscape(shown);
        if (cut >= 0 && shown.size() - cut <= kMaxHeldEscape) {
            heldEscape = shown.mid(cut);
            shown.truncate(cut);
        }
    }
    piece.shown = stamp + shown;
    return piece;
}

void TerminalLines::reset()
{
    openLine = QString();
    heldEscape.clear();
    breakSkipped = false;
}
