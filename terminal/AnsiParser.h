#pragma once

#include <QColor>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>
#include <QTextCharFormat>

// Turns one piece of game text carrying ANSI escape sequences into formatted
// runs. Only SGR sequences (ESC [ ... m) are understood; every other control
// sequence is dropped. The colour state lives in the parser and carries over
// from one call to the next, because servers often set a colour on one line and
// reset it several lines later.
//
// Servers are not trusted: parsing is a linear scan whatever the input looks
// like (endless parameter lists, unterminated sequences, megabyte lines).
class AnsiParser final {
public:
    struct FormatRun {
        QString text; // never empty in a produced run
        QTextCharFormat format;
    };

    AnsiParser();

    void reset();
    QList<FormatRun> parse(const QString& text);

    // The format of the reset state, for callers that need a neutral format.
    const QTextCharFormat& getCurrentFormat() const { return currentFormat; }

    // The text a parse would show, without its formats: every escape sequence
    // that parse() consumes is removed, a lone ESC or an unfinished sequence
    // stays. For places that show game text without colours (list items,
    // trigger input), so they strip exactly what the terminal hides.
    static QString plainText(const QString& text);

    static QColor colorFrom256(int index);
    static QColor getColorFromCode(int code);

private:
    QTextCharFormat buildFormat() const;
    QTextCharFormat runFormat();
    void applySgrParameters(QStringView parameters);
    void processSgrCodes(const QList<int>& codes);
    void processSgrCode(int code);

    QTextCharFormat currentFormat;
    QColor foreground;
    QColor background;
    bool bold = false;
    bool underline = false;
    bool italic = false;
    // Index 0..7 of the last foreground set by SGR 30..37, so that bold can show
    // it bright; -1 when the foreground came from the 256-colour or truecolour
    // forms. 39 and 90..97 deliberately leave it alone.
    int basicForeground = -1;

    // Formats already built, by the look they produce. Servers repeat a handful
    // of colour combinations line after line; sharing one format object per
    // combination spares building it and lets the document find it again
    // without hashing it anew.
    QHash<quint64, QTextCharFormat> formatCache;
};
