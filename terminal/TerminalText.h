#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include "terminal/AnsiParser.h"

// What the terminal does to parsed game text before it reaches the document:
// pure functions, so every corner case is a one-line test.
class TerminalText final {
public:
    struct Link {
        qsizetype start;
        qsizetype length;
        QString url; // what to open: "www." gains "http://"
    };

    // Control characters are not drawn: the terminal shows C0 controls other
    // than TAB and the line feed, DEL and C1 controls as boxes or, for a lone
    // CR, as a line break that splits one server line in two. Qt's own block
    // and line separators are dropped for the same reason. Returns the text
    // unchanged (no copy) when there is nothing to drop.
    static QString drawable(const QString& text);

    // Drops what drawable() drops from every run, and the runs left empty.
    static QList<AnsiParser::FormatRun> drawableRuns(QList<AnsiParser::FormatRun> runs);

    // Splits runs so that no line grows past maxLength characters or maxRuns
    // runs; column is the length of the line the first run continues. Cuts are
    // line feeds.
    static QList<AnsiParser::FormatRun> cutLongLines(QList<AnsiParser::FormatRun> runs, qsizetype column,
                                                     qsizetype maxLength, qsizetype maxRuns);

    static int countLineFeeds(QStringView text);

    // Where an escape sequence that the end of text cuts short begins (a lone
    // ESC at the very end, or ESC '[' with parameters but no final byte yet),
    // or -1. A piece that leaves its line open may stop in the middle of one.
    static qsizetype unfinishedEscape(QStringView text);

    // Web addresses in visible text: "http://", "https://" or "www." up to
    // the next blank or quote, without the punctuation that ends a sentence
    // and without a closing bracket that was not opened inside the address.
    static QList<Link> findLinks(QStringView text);
};
