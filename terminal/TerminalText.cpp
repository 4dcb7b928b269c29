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
                                                        qsizetype maxLength)
{
    qsizetype total = column;
    for (const AnsiParser::FormatRun& run : runs)
        total += run.text.size();
    if (total <= maxLength)
        return runs;

    QList<AnsiParser::FormatRun> cut;
    for (const AnsiParser::FormatRun& run : runs) {
        qsizetype start = 0;
        for (qsizetype i = 0; i < run.text.size(); ++i) {
            const QChar c = run.text[i];
            if (c == u'\n') {
                column = 0;
                continue;
            }
            // Never cut between the halves of a surrogate pair.
            if (column >= maxLength && !c.isLowSurrogate()) {
                cut.append({run.text.mid(start, i - start) + u'\n', run.format});
                start = i;
                column = 0;
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
