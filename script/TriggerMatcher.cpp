#include "script/TriggerMatcher.h"

#include <algorithm>

namespace {

// PCRE2 reads options such as (*UTF) or (*LIMIT_MATCH=n) only at the very
// start of a pattern, and of two limits the later one wins. The engine's limit
// therefore goes behind any the pattern brings along, so that it always holds.
QString withMatchLimit(const QString& pattern)
{
    static const QRegularExpression leadingOptions(
        QStringLiteral(R"(^(?:\(\*(?:UTF|UCP|NO_[A-Z_]+|NOTEMPTY(?:_ATSTART)?|LIMIT_[A-Z]+=\d+|CR|LF|CRLF|)"
                       R"(ANYCRLF|ANY|NUL|BSR_[A-Z]+)\))*)"));
    const qsizetype end = leadingOptions.match(pattern).capturedLength();
    return pattern.left(end) + QStringLiteral("(*LIMIT_MATCH=%1)").arg(TriggerMatcher::kMatchLimit) +
           pattern.mid(end);
}

// Whether a pattern means the same inside "(?:...)|(?:...)" as on its own.
// The test is textual and errs on the side of leaving a pattern out, which
// only costs speed. Out stay: references to groups by number or to the
// pattern itself (the numbers shift), named groups (two triggers may use one
// name), \K, verbs and start options "(*" (COMMIT or SKIP would cut off the
// other alternatives), \Q without its \E and comments of the extended mode,
// both of which run to the end of the pattern and would swallow what follows.
bool canShareAlternation(const QString& pattern)
{
    static const QRegularExpression changesMeaning(
        QStringLiteral(R"(\\[1-9gkKQ]|\(\*|\(\?(P[=>]|P?<[A-Za-z_]|'|&|R|\(|[+-]?\d))"));
    if (pattern.contains(QLatin1Char('#')) && pattern.contains(QLatin1String("(?")))
        return false;
    return !changesMeaning.match(pattern).hasMatch();
}

bool isAscii(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 128; });
}

// A joined search that failed to run (match limit, invalid UTF-16) says
// nothing about its triggers; only a clean "no match" lets them be skipped.
bool joinedSearchMissed(const QRegularExpression& joined, const QString& line,
                        QRegularExpression::MatchOptions options)
{
    const QRegularExpressionMatch match = joined.match(line, 0, QRegularExpression::NormalMatch, options);
    return match.isValid() && !match.hasMatch();
}

} // namespace

void TriggerMatcher::setTriggers(const QList<Trigger>& triggers)
{
    m_prepared.clear();
    for (qsizetype i = 0; i < triggers.size(); ++i) {
        const Trigger& trigger = triggers.at(i);
        if (!trigger.enabled)
            continue;
        Prepared prepared;
        prepared.index = i;
        prepared.regex = trigger.regex;
        prepared.pattern = trigger.pattern;
        if (trigger.regex) {
            prepared.expression.setPattern(withMatchLimit(trigger.pattern));
            if (!prepared.expression.isValid())
                continue;
            prepared.expression.optimize();
        } else if (trigger.pattern.isEmpty()) {
            prepared.matchesEverything = true;
        } else {
            prepared.plain = QStringMatcher(trigger.pattern, Qt::CaseInsensitive);
            // Only for ASCII text does ignoring case mean the same to the
            // expression engine as to a plain search.
            prepared.inJoinedPlain = isAscii(trigger.pattern);
        }
        prepared.inJoinedRegex = trigger.regex && canShareAlternation(trigger.pattern);
        m_prepared.push_back(std::move(prepared));
    }
    joinRegexes();
    joinPlainTexts();
}

void TriggerMatcher::joinRegexes()
{
    QStringList alternatives;
    for (const Prepared& prepared : m_prepared) {
        if (prepared.inJoinedRegex)
            alternatives << QStringLiteral("(?:") + prepared.pattern + QLatin1Char(')');
    }
    m_joinedRegex.setPattern(withMatchLimit(alternatives.join(QLatin1Char('|'))));
    m_useJoinedRegex = alternatives.size() > 1 && m_joinedRegex.isValid();
    if (m_useJoinedRegex) {
        m_joinedRegex.optimize();
        return;
    }
    for (Prepared& prepared : m_prepared)
        prepared.inJoinedRegex = false;
}

void TriggerMatcher::joinPlainTexts()
{
    QStringList phrases;
    for (const Prepared& prepared : m_prepared) {
        if (prepared.inJoinedPlain)
            phrases << QRegularExpression::escape(prepared.pattern);
    }
    m_joinedPlain.setPattern(withMatchLimit(phrases.join(QLatin1Char('|'))));
    m_joinedPlain.setPatternOptions(QRegularExpression::CaseInsensitiveOption);
    m_useJoinedPlain = phrases.size() > 1 && m_joinedPlain.isValid();
    if (m_useJoinedPlain) {
        m_joinedPlain.optimize();
        return;
    }
    for (Prepared& prepared : m_prepared)
        prepared.inJoinedPlain = false;
}

TriggerMatcher::Match TriggerMatcher::firstMatch(const QString& line) const
{
    // Lines from the connection are nearly always valid UTF-16; skipping the
    // check saves a scan of the line for every pattern. Invalid ones are
    // checked, so that every expression reports them as an error.
    const QRegularExpression::MatchOptions options =
        line.isValidUtf16() ? QRegularExpression::DontCheckSubjectStringMatchOption
                            : QRegularExpression::NoMatchOption;
    const bool regexMissed = m_useJoinedRegex && joinedSearchMissed(m_joinedRegex, line, options);
    const bool plainMissed = m_useJoinedPlain && joinedSearchMissed(m_joinedPlain, line, options);

    Match result;
    for (const Prepared& prepared : m_prepared) {
        if ((regexMissed && prepared.inJoinedRegex) || (plainMissed && prepared.inJoinedPlain))
            continue;
        if (matches(prepared, line, options, &result.captures)) {
            result.index = prepared.index;
            return result;
        }
    }
    return result;
}

bool TriggerMatcher::matches(const Prepared& prepared, const QString& line,
                             QRegularExpression::MatchOptions options, QStringList* captures) const
{
    if (prepared.regex) {
        const QRegularExpressionMatch match =
            prepared.expression.match(line, 0, QRegularExpression::NormalMatch, options);
        if (!match.hasMatch())
            return false;
        *captures = match.capturedTexts();
        return true;
    }
    if (!prepared.matchesEverything && prepared.plain.indexIn(line) < 0)
        return false;
    *captures = QStringList{line};
    return true;
}
