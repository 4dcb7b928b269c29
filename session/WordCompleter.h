#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <deque>
#include <optional>

// Completes the word being typed from words seen in recent game output, most
// recent first. Asked again with the line it produced, it offers the next
// candidate, and after the last one the word as it was typed.
//
// Output only is remembered as it comes (a flood costs a list append per
// piece); it is read for words when the player asks for a completion.
class WordCompleter final {
public:
    // Candidates offered at most.
    static constexpr int kMaxWords = 2000;
    // Recent output kept to look for words in; older output is forgotten.
    static constexpr qsizetype kMaxRememberedCharacters = 16 * kMaxWords;
    // Shorter words are not worth completing.
    static constexpr int kMinWordLength = 3;

    struct Completion {
        QString line;
        int cursor = 0;
    };

    // Remembers one piece of output; escape sequences in it are ignored.
    void addText(const QString& text);
    // Nothing when there is no word before the cursor or nothing to offer.
    std::optional<Completion> complete(const QString& line, int cursor);

private:
    QStringList candidatesFor(const QString& prefix) const;

    std::deque<QString> recentOutput; // oldest first
    qsizetype rememberedCharacters = 0;

    // The cycle in progress: the line as typed, where the word starts, the
    // candidates, which one is shown (-1: the typed word) and what was shown.
    QString typedLine;
    int wordStart = 0;
    int typedCursor = 0;
    QStringList candidates;
    int shown = -1;
    std::optional<Completion> lastResult;
};
