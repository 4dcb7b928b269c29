#include "session/WordCompleter.h"

#include <QList>

#include <algorithm>
#include <utility>

namespace {

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

} // namespace

void WordCompleter::addText(const QString& text)
{
    qsizetype start = -1;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const bool word = i < text.size() && isWordChar(text.at(i));
        if (word && start < 0)
            start = i;
        if (word || start < 0)
            continue;
        if (i - start >= kMinWordLength)
            lastSeen.insert(text.mid(start, i - start), ++counter);
        start = -1;
    }
    if (lastSeen.size() > 2 * kMaxWords)
        forgetOldest();
}

void WordCompleter::forgetOldest()
{
    // Pruning in batches keeps adding text cheap: one sort per kMaxWords words.
    QList<quint64> ages = lastSeen.values();
    std::nth_element(ages.begin(), ages.end() - kMaxWords, ages.end());
    const quint64 cutoff = *(ages.end() - kMaxWords);
    lastSeen.removeIf([cutoff](const auto& entry) { return entry.value() < cutoff; });
}

QStringList WordCompleter::candidatesFor(const QString& prefix) const
{
    QList<std::pair<quint64, QString>> found;
    for (auto it = lastSeen.cbegin(); it != lastSeen.cend(); ++it) {
        if (it.key().size() > prefix.size() && it.key().startsWith(prefix, Qt::CaseInsensitive))
            found.append({it.value(), it.key()});
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    QStringList words;
    for (const auto& [age, word] : found)
        words.append(word);
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
