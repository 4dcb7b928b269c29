#include "terminal/TerminalText.h"

#include <utility>

namespace {

bool isHidden(char16_t u)
{
    if (u < 0x20)
        return u != u'\t' && u != u'\n';
    if (u < 0x7f)
        return false;
    return u <= 0x9f || u == 0x2028 || u == 0x2029 || u == 0xfdd0 || u == 0xfdd1;
}

bool endsLink(char16_t u)
{
    return u <= 0x20 || u == u'"' || u == u'\'' || u == u'<' || u == u'>' || u == u'`' || u == 0x7f ||
           QChar::isSpace(u);
}

// Where a link that starts at from really ends: trailing sentence punctuation
// and unmatched closing brackets are left out.
qsizetype trimLinkEnd(QStringView text, qsizetype from, qsizetype end)
{
    while (end > from) {
        const char16_t last = text[end - 1].unicode();
        if (QStringView(u".,;:!?").contains(QChar(last))) {
            --end;
            continue;
        }
        const QStringView body = text.sliced(from, end - from);
        if ((last == u')' && body.count(u'(') < body.count(u')')) ||
            (last == u']' && body.count(u'[') < body.count(u']'))) {
            --end;
            continue;
        }
        break;
    }
    return end;
}

qsizetype linkStart(QStringView text, qsizetype from, qsizetype* prefixLength)
{
    for (qsizetype i = from; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c != u'h' && c != u'H' && c != u'w' && c != u'W')
            continue;
        // Inside a word ("awww.") is not the start of an address.
        if (i > 0 && (text[i - 1].isLetterOrNumber() || text[i - 1] == u'.'))
            continue;
        for (QStringView prefix : {u"https://", u"http://", u"www."}) {
            if (text.sliced(i).startsWith(prefix, Qt::CaseInsensitive)) {
                *prefixLength = prefix.size();
                return i;
            }
        }
    }
    return -1;
}

} // namespace

QString TerminalText::drawable(const QString& text)
{
    qsizetype first = 0;
    while (first < text.size() && !isHidden(text[first].unicode()))
        ++first;
    if (first == text.size())
        return text;
    QString kept;
    kept.reserve(text.size() - 1);
    kept.append(QStringView(text).first(first));
    for (qsizetype i = first + 1; i < text.size(); ++i) {
        if (!isHidden(text[i].unicode()))
            kept.append(text[i]);
    }
    return kept;
}

QList<AnsiParser::FormatRun> TerminalText::drawableRuns(QList<AnsiParser::FormatRun> runs)
{
    qsizetype kept = 0;
    for (qsizetype i = 0; i < runs.size(); ++i) {
        QString text = drawable(runs[i].text);
        if (text.isEmpty())
            continue;
        if (kept != i)
            runs[kept].format = runs[i].format;
        runs[kept++].text = std::move(text);
    }
    runs.resize(kept);
    return runs;
}

QList<AnsiParser::FormatRun> TerminalText::cutLongLines(QList<AnsiParser::FormatRun> runs, qsizetype column,
                                                        qsizetype maxLength, qsizetype maxRuns)
{
    qsizetype total = column;
    for (const AnsiParser::FormatRun& run : runs)
        total += run.text.size();
    if (total <= maxLength && runs.size() <= maxRuns)
        return runs;

    QList<AnsiParser::FormatRun> cut;
    qsizetype runsInLine = 0;
    for (const AnsiParser::FormatRun& run : runs) {
        if (runsInLine >= maxRuns && column > 0 && !cut.isEmpty()) {
            cut.last().text += u'\n';
            column = 0;
            runsInLine = 0;
        }
        ++runsInLine;
        qsizetype start = 0;
        for (qsizetype i = 0; i < run.text.size(); ++i) {
            const QChar c = run.text[i];
            if (c == u'\n') {
                column = 0;
                runsInLine = 0;
                continue;
            }
            // Never cut between the halves of a surrogate pair.
            if (column >= maxLength && !c.isLowSurrogate()) {
                cut.append({run.text.mid(start, i - start) + u'\n', run.format});
                start = i;
                column = 0;
                runsInLine = 1;
            }
            ++column;
        }
        cut.append({run.text.mid(start), run.format});
    }
    return cut;
}

int TerminalText::countLineFeeds(QStringView text)
{
    return int(text.count(u'\n'));
}

qsizetype TerminalText::unfinishedEscape(QStringView text)
{
    const qsizetype escape = text.lastIndexOf(u'\x1b');
    if (escape < 0)
        return -1;
    if (escape + 1 == text.size())
        return escape;
    if (text[escape + 1] != u'[')
        return -1;
    for (qsizetype i = escape + 2; i < text.size(); ++i) {
        const char16_t u = text[i].unicode();
        if (u >= 0x40 && u <= 0x7e)
            return -1; // a final byte: the sequence is complete
    }
    return escape;
}

QList<TerminalText::Link> TerminalText::findLinks(QStringView text)
{
    QList<Link> links;
    qsizetype prefixLength = 0;
    qsizetype start = linkStart(text, 0, &prefixLength);
    while (start >= 0) {
        qsizetype end = start + prefixLength;
        while (end < text.size() && !endsLink(text[end].unicode()))
            ++end;
        const qsizetype next = end;
        end = trimLinkEnd(text, start, end);
        // An address needs something after its prefix: "www." alone is not one.
        if (end - start > prefixLength + 1 && text[start + prefixLength] != u'.') {
            QString url = text.sliced(start, end - start).toString();
            if (prefixLength == 4)
                url.prepend(QStringLiteral("http://"));
            links.append({start, end - start, url});
        }
        start = linkStart(text, next, &prefixLength);
    }
    return links;
}
