#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

// Completes the word being typed from words seen in recent game output, most
// recent first. Asked again with the line it produced, it offers the next
// candidate, and after the last one the word as it was typed.
class WordCompleter final {
public:
    // Words kept; older ones are forgotten as new ones arrive.
    static constexpr int kMaxWords = 2000;
    // Shorter words are not worth completing.
    static constexpr int kMinWordLength = 3;

    struct Completion {
        QString line;
        int cursor = 0;
    };

    // Remembers the words of one piece of output (plain text, no escapes).
    void addText(const QString& text);
    // Nothing when there is no word before the cursor or nothing to offer.
    std::optional<Completion> complete(const QString& line, int cursor);

private:
    QStringList candidatesFor(const QString& prefix) const;
    void forgetOldest();

    QHash<QString, quint64> lastSeen; // word -> position in the output
    quint64 counter = 0;

    // The cycle in progress: the line as typed, where the word starts, the
    // candidates, which one is shown (-1: the typed word) and what was shown.
    QString typedLine;
    int wordStart = 0;
    int typedCursor = 0;
    QStringList candidates;
    int shown = -1;
    std::optional<Completion> lastResult;
};
