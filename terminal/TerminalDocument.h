#pragma once

#include <QList>
#include <QString>
#include <QTextCursor>

#include "terminal/AnsiParser.h"

class QTextBlock;
class QTextDocument;

// Whole-document operations of the terminal that need no view: rebuilding the
// format collection, marking links, finding every match.
class TerminalDocument final {
public:
    // Rebuilds the document from its own content. A document keeps every
    // format it was ever given; the rebuilt one holds only those its text
    // still uses, and looks the same (text, character and line formats).
    static void compactFormats(QTextDocument* document);

    // Removes the first count blocks; returns how many lines (as the view's
    // scroll bar counts them) they took.
    static int removeFirstBlocks(QTextDocument* document, int count);

    // Frees the shaped glyphs of the laid-out blocks before first. An empty
    // layout pass is what frees them (clearLayout() alone keeps them); a block
    // is laid out again when scrolled back to.
    static void releaseLayoutsBefore(const QTextBlock& first);

    // Lets the last count blocks (those of at most maxLength characters) keep
    // their shaped glyphs, which are otherwise made again at every paint.
    static void keepGlyphsOfLastBlocks(QTextDocument* document, int count, qsizetype maxLength);

    // Every line's height, in percent of the font's.
    static void setLineHeight(QTextDocument* document, int percent);

    // Makes the web addresses in the runs just inserted at lineStart links.
    static void markLinks(QTextDocument* document, const QList<AnsiParser::FormatRun>& runs, int lineStart);

    // Every match from the start of the document, in order. A pattern that
    // also matches the empty string cannot stall the search.
    static QList<QTextCursor> findAll(QTextDocument* document, const QString& text, bool caseSensitive,
                                      bool useRegex);
};
