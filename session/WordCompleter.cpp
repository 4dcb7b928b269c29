#include "session/WordCompleter.h"

#include <algorithm>

#include "terminal/AnsiParser.h"

namespace {

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

} // namespace

void WordCompleter::addText(const QString& text)
{
    if (text.isEmpty())
        return;
    recentOutput.push_back(text);
    rememberedCharacters += text.size();
    while (rememberedCharacters > kMaxRememberedCharacters && recentOutput.size() > 1) {
        rememberedCharacters -= recentOutput.front().size();
        recentOutput.pop_front();
    }
}

QStringList WordCompleter::candidatesFor(const QString& prefix) const
{
    QStringList words;
    QSet<QString> offered;
    for (auto piece = recentOutput.crbegin(); piece != recentOutput.crend(); ++piece) {
        const QString text = AnsiParser::plainText(*piece);
        // Right to left: the word seen last comes first.
        qsizetype end = text.size();
        while (end > 0 && words.size() < kMaxWords) {
            while (end > 0 && !isWordChar(text.at(end - 1)))
                --end;
            qsizetype start = end;
            while (start > 0 && isWordChar(text.at(start - 1)))
                --start;
            const QStringView word = QStringView(text).mid(start, end - start);
            if (word.size() >= kMinWordLength && word.size() > prefix.size() &&
                word.startsWith(prefix, Qt::CaseInsensitive) && !offered.contains(word.toString())) {
                offered.insert(word.toString());
                words.append(word.toString());
            }
            end = start;
        }
    }
    return words;
}

std::optional<WordCompleter::Completion> WordCompleter::complete(const QString& line, int cursor)
{
    const bool continuing = lastResult && lastResult->line == line && lastResult->cursor == cursor;
    if (!continuing) {
        cursor = std::clamp(cursor, 0, int(line.size()));
        int start = cursor;
        while (start > 0 && isWordChar(line.at(start - 1)))
            --start;
        if (start == cursor)
            return std::nullopt;
        candidates = candidatesFor(line.mid(start, cursor - start));
        if (candidates.isEmpty())
            return std::nullopt;
        typedLine = line;
        typedCursor = cursor;
        wordStart = start;
        shown = -1;
    }
    // One step further round the cycle: each candidate, then the typed word.
    shown = shown + 1 < candidates.size() ? shown + 1 : -1;
    Completion result{typedLine, typedCursor};
    if (shown >= 0) {
        const QString& word = candidates.at(shown);
        result.line.replace(wordStart, typedCursor - wordStart, word);
        result.cursor = wordStart + int(word.size());
    }
    lastResult = result;
    return result;
}
