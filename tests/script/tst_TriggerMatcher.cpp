#include <QtTest>

#include "script/TriggerMatcher.h"
#include "support/TestEnvironment.h"

namespace {

// "r:" a regex trigger, "p:" a plain one, "-:" a disabled plain one.
QList<Trigger> triggersFrom(const QStringList& definitions)
{
    QList<Trigger> triggers;
    for (const QString& definition : definitions) {
        Trigger trigger;
        trigger.regex = definition.startsWith(QLatin1String("r:"));
        trigger.enabled = !definition.startsWith(QLatin1String("-:"));
        trigger.pattern = definition.mid(2);
        triggers.append(trigger);
    }
    return triggers;
}

// index: of the trigger that matches, -1 for none.
void row(const char* name, const QStringList& triggers, const QString& line, int index,
         const QStringList& captures)
{
    QTest::newRow(name) << triggers << line << index << captures;
}

// The reference: each trigger on its own, where no joined search is made.
TriggerMatcher::Match oneByOne(const QList<Trigger>& triggers, const QString& line)
{
    for (qsizetype i = 0; i < triggers.size(); ++i) {
        TriggerMatcher single;
        single.setTriggers({triggers.at(i)});
        TriggerMatcher::Match match = single.firstMatch(line);
        if (match.found()) {
            match.index = i;
            return match;
        }
    }
    return {};
}

} // namespace

class tst_TriggerMatcher : public QObject {
    Q_OBJECT

private slots:
    void firstMatch_data();
    void firstMatch();
    void joinedSearchAgreesWithOneByOne();
};

void tst_TriggerMatcher::firstMatch_data()
{
    QTest::addColumn<QStringList>("triggers");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("captures");

    const QString aaa = QString(40, QLatin1Char('a')) + QStringLiteral(" c");
    row("plain ignores case, captures the line", {"-:hungry", "p:HUNGRY", "p:hungry"}, "You are hungry.", 1,
        {"You are hungry."});
    row("regex is case-sensitive", {"r:Hungry", "p:orc"}, "hungry orc", 1, {"hungry orc"});
    row("regex captures", {"r:troll", "r:You hit (\\w+) for (\\d+)"}, "Ouch! You hit orc for 12 damage", 1,
        {"You hit orc for 12", "orc", "12"});
    row("empty plain pattern matches everything", {"p:", "p:x"}, "", 0, {""});
    row("list order wins", {"r:rat", "r:^You"}, "You see a rat.", 0, {"rat"});
    row("none matches", {"r:orc", "r:troll", "r:(\\d+) gold", "p:q", "p:z"}, "You see a rat.", -1, {});
    row("invalid pattern never matches", {"r:(", "r:gold"}, "10 gold", 1, {"gold"});
    row("inline option stays local", {"r:(?i)RAT", "r:^you"}, "you see a Rat", 0, {"Rat"});
    // Patterns that would mean something else inside one alternation.
    row("back reference", {"r:(o)rc", "r:(\\w)\\1"}, "a book", 1, {"oo", "o"});
    row("group number in a condition", {"r:(x)y", "r:(a)?(?(1)b|c)d"}, "abd", 1, {"abd", "a"});
    row("backtracking verb", {"r:a(*COMMIT)b", "r:xyz"}, "a xyz", 1, {"xyz"});
    row("match limit in the joined search", {"r:(a+)+b", "r:c$"}, aaa, 1, {"c"});
    row("same group name twice", {"r:(?<n>x)q", "r:(?<n>y)z"}, "yz", 1, {"yz", "y"});
    row("a pattern's own limit does not lift ours", {"r:(*LIMIT_MATCH=50000000)(a|aa)*c", "r:a c$"}, aaa, 1,
        {"a c"});
    // Plain texts are joined too; case folding beyond ASCII is left to the
    // plain search, and a line the expression engine rejects still matches.
    row("plain special characters", {"p:troll", "p:a.b"}, "see a.b", 1, {"see a.b"});
    row("plain text is not a pattern", {"p:troll", "p:a.b"}, "axb", -1, {});
    row("plain non-ASCII", {"p:Ærø", "p:orc", "p:troll"}, "ÆRØ here", 0, {"ÆRØ here"});
    const QString broken = QStringLiteral("orc ") + QChar(0xD800);
    row("plain on invalid UTF-16", {"p:troll", "p:orc", "r:orc"}, broken, 1, {broken});
}

void tst_TriggerMatcher::firstMatch()
{
    QFETCH(QStringList, triggers);
    QFETCH(QString, line);
    QFETCH(int, index);
    QFETCH(QStringList, captures);

    TriggerMatcher matcher;
    matcher.setTriggers(triggersFrom(triggers));
    const TriggerMatcher::Match match = matcher.firstMatch(line);
    QCOMPARE(match.index, qsizetype(index));
    QCOMPARE(match.captures, captures);
}

// Random patterns built from pieces that are known to behave differently
// inside an alternation (verbs, references, quoting, comments, names,
// nested quantifiers), matched against lines from a small alphabet.
void tst_TriggerMatcher::joinedSearchAgreesWithOneByOne()
{
    static const QStringList pieces = {
        "a",        "b",       "c",         " ",       "x",    ".",     "a+",        "(a+)+",
        "(a|aa)*",  "\\w+",    "^",         "$",       "(",    ")",     "|",         "*",
        "?",        "(?:",     "(?=",       "(?<=a)",  "(?i)", "(?x)",  "#",         "\\Q",
        "\\E",      "\\1",     "\\K",       "(?<n>",   "(?1)", "(?(1)", "(*COMMIT)", "(*SKIP)",
        "(*PRUNE)", "(*THEN)", "(*ACCEPT)", "(*FAIL)", "[ab]", "{2}",   "\\b",
    };
    static const QStringList lineParts = {"a", "b", "c", " ", "x", "y", "aaaaaaaaaaaaaaaaaaaa", "A", "B"};
    QRandomGenerator random(20261124);
    const auto pick = [&random](const QStringList& from) {
        return from.at(random.bounded(qsizetype(from.size())));
    };

    int joinedUsed = 0;
    for (int round = 0; round < 1500; ++round) {
        QList<Trigger> triggers;
        const int count = 2 + random.bounded(4);
        for (int i = 0; i < count; ++i) {
            Trigger trigger;
            trigger.regex = random.bounded(4) != 0;
            const int length = 1 + random.bounded(5);
            for (int j = 0; j < length; ++j)
                trigger.pattern += trigger.regex ? pick(pieces) : pick(lineParts);
            triggers.append(trigger);
        }
        TriggerMatcher joined;
        joined.setTriggers(triggers);
        for (int l = 0; l < 6; ++l) {
            QString line;
            const int length = random.bounded(6);
            for (int j = 0; j < length; ++j)
                line += pick(lineParts);
            const TriggerMatcher::Match expected = oneByOne(triggers, line);
            const TriggerMatcher::Match actual = joined.firstMatch(line);
            QStringList patterns;
            for (const Trigger& trigger : triggers)
                patterns << (trigger.regex ? "r:" : "p:") + trigger.pattern;
            const QString context = patterns.join(" | ") + " on '" + line + "'";
            QVERIFY2(actual.index == expected.index && actual.captures == expected.captures,
                     qPrintable(context));
            joinedUsed += expected.found() ? 0 : 1;
        }
    }
    QVERIFY(joinedUsed > 1000); // most lines miss, which is where the joined search decides
}

OLVEX_TEST_MAIN(tst_TriggerMatcher, QCoreApplication)
#include "tst_TriggerMatcher.moc"
