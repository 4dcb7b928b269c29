#include <QtTest>

#include "session/WordCompleter.h"
#include "support/TestEnvironment.h"

class tst_WordCompleter : public QObject {
    Q_OBJECT

private slots:
    void completes_data();
    void completes();
    void keepsOnlyRecentWords();
};

void tst_WordCompleter::completes_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("line"); // '|' marks the cursor
    QTest::addColumn<int>("tabs");
    QTest::addColumn<QString>("expected"); // '|' marks the cursor; empty: no completion

    const QString output = "A Guardian stands here.\nThe guard says: hello, Gunther!\nx_ray ok";
    QTest::newRow("most recent first") << output << "kill gu|" << 1 << "kill Gunther|";
    QTest::newRow("next candidate") << output << "kill gu|" << 2 << "kill guard|";
    QTest::newRow("third candidate") << output << "kill gu|" << 3 << "kill Guardian|";
    QTest::newRow("back to typed word") << output << "kill gu|" << 4 << "kill gu|";
    QTest::newRow("and round again") << output << "kill gu|" << 5 << "kill Gunther|";
    QTest::newRow("word inside the line") << output << "say he| there" << 1 << "say hello| there";
    QTest::newRow("underscore is a word character") << output << "x_|" << 1 << "x_ray|";
    QTest::newRow("no word before the cursor") << output << "kill |" << 1 << "";
    QTest::newRow("nothing matches") << output << "zz|" << 1 << "";
    QTest::newRow("complete word is no candidate") << output << "hello|" << 1 << "";
    QTest::newRow("short words are skipped") << output << "o|" << 1 << "";
    QTest::newRow("non-ASCII words") << "Grüße aus Köln" << QString("kö|") << 1 << "Köln|";
}

void tst_WordCompleter::completes()
{
    QFETCH(QString, output);
    QFETCH(QString, line);
    QFETCH(int, tabs);
    QFETCH(QString, expected);
    WordCompleter completer;
    completer.addText(output);
    QString text = QString(line).remove('|');
    int cursor = int(line.indexOf('|'));
    std::optional<WordCompleter::Completion> result;
    for (int i = 0; i < tabs; ++i) {
        result = completer.complete(text, cursor);
        if (!result)
            break;
        text = result->line;
        cursor = result->cursor;
    }
    QCOMPARE(result ? QString(result->line).insert(result->cursor, '|') : QString(), expected);
}

void tst_WordCompleter::keepsOnlyRecentWords()
{
    WordCompleter completer;
    completer.addText("ancient");
    for (int i = 0; i < 3 * WordCompleter::kMaxWords; ++i)
        completer.addText(QString("word%1").arg(i));
    QVERIFY(!completer.complete("anc", 3));
    // A line other than the one offered last starts a new completion.
    QCOMPARE(completer.complete("word599", 7)->line, "word5999");
    QCOMPARE(completer.complete("word599", 7)->line, "word5999");
}

OLVEX_TEST_MAIN(tst_WordCompleter, QCoreApplication)
#include "tst_WordCompleter.moc"
