#pragma once

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QStringMatcher>

#include <vector>

#include "storage/Scripts.h"

// Finds the first trigger of a list that matches one line of game text and
// what it captured. Plain triggers look for their text anywhere in the line,
// ignoring case; regex triggers run their pattern once, case-sensitively.
// Disabled triggers and patterns that do not compile never match.
//
// Most lines match no trigger, so the patterns are also joined into one
// alternation per kind and a line that misses the alternation skips every
// trigger in it. The joined search is only a shortcut: whenever it reports an
// error (a match limit, invalid UTF-16) the triggers are tried one by one,
// and patterns whose meaning would change inside an alternation stay out of it.
class TriggerMatcher final {
public:
    // Work one regular expression may spend on one line, in PCRE2's
    // match-limit units; beyond it the pattern counts as not matching. A
    // pattern with catastrophic backtracking then costs about 0.3 ms per line
    // (PCRE2's own default of ten million costs about 100 ms), so a crafted
    // line cannot freeze the client: a line costs at most one such budget per
    // regex trigger plus one for the joined search. Ordinary triggers stay
    // far below it, even on 64 KiB lines.
    static constexpr int kMatchLimit = 100000;

    struct Match {
        qsizetype index = -1; // position in the list given to setTriggers
        // The whole match and the groups for a regex trigger, the line for a
        // plain one.
        QStringList captures;

        bool found() const { return index >= 0; }
    };

    void setTriggers(const QList<Trigger>& triggers);
    Match firstMatch(const QString& line) const;

private:
    struct Prepared {
        qsizetype index = 0;
        bool regex = false;
        bool matchesEverything = false;
        bool inJoinedRegex = false;
        bool inJoinedPlain = false;
        QString pattern;
        QStringMatcher plain;
        QRegularExpression expression;
    };

    void joinRegexes();
    void joinPlainTexts();
    bool matches(const Prepared& prepared, const QString& line, QRegularExpression::MatchOptions options,
                 QStringList* captures) const;

    std::vector<Prepared> m_prepared;
    QRegularExpression m_joinedRegex;
    bool m_useJoinedRegex = false;
    QRegularExpression m_joinedPlain;
    bool m_useJoinedPlain = false;
};
