#include "terminal/TerminalDocument.h"

#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextLayout>

#include "terminal/TerminalText.h"

void TerminalDocument::compactFormats(QTextDocument* document)
{
    QTextCursor all(document);
    all.select(QTextCursor::Document);
    const QTextDocumentFragment content = all.selection();
    // Clearing is what empties the format collection; the fragment carries
    // only the formats its text uses.
    document->clear();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.insertFragment(content);
    cursor.endEditBlock();
}

int TerminalDocument::removeFirstBlocks(QTextDocument* document, int count)
{
    const QTextBlock end = document->findBlockByNumber(count);
    const int lines = end.firstLineNumber();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(end.position(), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();
    return lines;
}

void TerminalDocument::releaseLayoutsBefore(const QTextBlock& first)
{
    for (QTextBlock block = first.previous(); block.isValid() && block.layout()->lineCount() > 0;
         block = block.previous()) {
        QTextLayout* layout = block.layout();
        layout->setCacheEnabled(false);
        layout->beginLayout();
        layout->endLayout();
    }
}

void TerminalDocument::markLinks(QTextDocument* document, const QList<AnsiParser::FormatRun>& runs,
                                 int lineStart)
{
    QString shown;
    for (const AnsiParser::FormatRun& run : runs)
        shown += run.text;
    QTextCursor cursor(document);
    for (const TerminalText::Link& link : TerminalText::findLinks(shown)) {
        QTextCharFormat anchor;
        anchor.setAnchor(true);
        anchor.setAnchorHref(link.url);
        anchor.setFontUnderline(true);
        cursor.setPosition(lineStart + int(link.start));
        cursor.setPosition(lineStart + int(link.start + link.length), QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(anchor);
    }
}

QList<QTextCursor> TerminalDocument::findAll(QTextDocument* document, const QString& text, bool caseSensitive,
                                             bool useRegex)
{
    QTextDocument::FindFlags flags;
    if (caseSensitive)
        flags |= QTextDocument::FindCaseSensitively;
    const QRegularExpression expression = useRegex ? QRegularExpression(text) : QRegularExpression();
    const int documentEnd = document->characterCount() - 1;

    QList<QTextCursor> matches;
    QTextCursor from(document);
    for (;;) {
        const QTextCursor match =
            useRegex ? document->find(expression, from, flags) : document->find(text, from, flags);
        if (match.isNull())
            break;
        if (match.hasSelection()) {
            matches.append(match);
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
    return matches;
}

void TerminalDocument::keepGlyphsOfLastBlocks(QTextDocument* document, int count, qsizetype maxLength)
{
    QTextBlock block = document->lastBlock();
    for (int i = 0; i < count && block.isValid(); ++i, block = block.previous()) {
        if (block.length() <= maxLength)
            block.layout()->setCacheEnabled(true);
    }
}

void TerminalDocument::setLineHeight(QTextDocument* document, int percent)
{
    QTextBlockFormat spacing;
    spacing.setLineHeight(percent, QTextBlockFormat::ProportionalHeight);
    QTextCursor cursor(document);
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(spacing);
}
