#include <QRandomGenerator>
#include <QtTest>

#include "script/TriggerMatcher.h"
#include "support/TestEnvironment.h"

namespace {

// "r:" a regex trigger, "p:" a plain one, "-:" a disabled plain one.
QList<Trigger> triggersFrom(const QStringList& specs)
{
    QList<Trigger> triggers;
    for (const QString& spec : specs) {
        Trigger trigger;
        trigger.regex = spec.startsWith(QLatin1String("r:"));
        trigger.enabled = !spec.startsWith(QLatin1String("-:"));
        trigger.pattern = spec.mid(2);
        triggers.append(trigger);
    }
    return triggers;
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
    QTest::newRow("plain ignores case, captures the line")
        << QStringList{"-:hungry", "p:HUNGRY", "p:hungry"} << "You are hungry." << 1
        << QStringList{"You are hungry."};
    QTest::newRow("regex is case-sensitive")
        << QStringList{"r:Hungry", "p:orc"} << "hungry orc" << 1 << QStringList{"hungry orc"};
    QTest::newRow("regex captures") << QStringList{"r:troll", "r:You hit (\\w+) for (\\d+)"}
                                    << "Ouch! You hit orc for 12 damage" << 1
                                    << QStringList{"You hit orc for 12", "orc", "12"};
    QTest::newRow("empty plain pattern matches everything")
        << QStringList{"p:", "p:x"} << "" << 0 << QStringList{""};
    QTest::newRow("list order wins") << QStringList{"r:rat", "r:^You"} << "You see a rat." << 0
                                     << QStringList{"rat"};
    QTest::newRow("none matches") << QStringList{"r:orc", "r:troll", "r:(\\d+) gold", "p:q", "p:z"}
                                  << "You see a rat." << -1 << QStringList{};
    QTest::newRow("invalid pattern never matches")
        << QStringList{"r:(", "r:gold"} << "10 gold" << 1 << QStringList{"gold"};
    QTest::newRow("inline option stays local")
        << QStringList{"r:(?i)RAT", "r:^you"} << "you see a Rat" << 0 << QStringList{"Rat"};
    // Patterns that would mean something else inside one alternation.
    QTest::newRow("back reference") << QStringList{"r:(o)rc", "r:(\\w)\\1"} << "a book" << 1
                                    << QStringList{"oo", "o"};
    QTest::newRow("group number in a condition")
        << QStringList{"r:(x)y", "r:(a)?(?(1)b|c)d"} << "abd" << 1 << QStringList{"abd", "a"};
    QTest::newRow("backtracking verb")
        << QStringList{"r:a(*COMMIT)b", "r:xyz"} << "a xyz" << 1 << QStringList{"xyz"};
    QTest::newRow("match limit in the joined search")
        << QStringList{"r:(a+)+b", "r:c$"} << aaa << 1 << QStringList{"c"};
    QTest::newRow("same group name twice")
        << QStringList{"r:(?<n>x)q", "r:(?<n>y)z"} << "yz" << 1 << QStringList{"yz", "y"};
    QTest::newRow("a pattern's own limit does not lift ours")
        << QStringList{"r:(*LIMIT_MATCH=50000000)(a|aa)*c", "r:a c$"} << aaa << 1 << QStringList{"a c"};
    // Plain texts are joined too; case folding beyond ASCII is left to the
    // plain search, and a line the expression engine rejects still matches.
    QTest::newRow("plain special characters")
        << QStringList{"p:troll", "p:a.b"} << "see a.b" << 1 << QStringList{"see a.b"};
    QTest::newRow("plain text is not a pattern")
        << QStringList{"p:troll", "p:a.b"} << "axb" << -1 << QStringList{};
    QTest::newRow("plain non-ASCII") << QStringList{"p:Ærø", "p:orc", "p:troll"} << "ÆRØ here" << 0
                                     << QStringList{"ÆRØ here"};
    const QString broken = QStringLiteral("orc ") + QChar(0xD800);
    QTest::newRow("plain on invalid UTF-16")
        << QStringList{"p:troll", "p:orc", "r:orc"} << broken << 1 << QStringList{broken};
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
