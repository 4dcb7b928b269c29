#include <QtTest>

#include "support/TestEnvironment.h"
#include "terminal/TerminalText.h"

class tst_TerminalText : public QObject {
    Q_OBJECT

private slots:
    void findsLinks_data();
    void findsLinks();
};

void tst_TerminalText::findsLinks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("links"); // "start:url"
    QTest::newRow("none") << "Nothing to see here. wwwx http:/ www. www.." << QStringList{};
    QTest::newRow("plain") << "See https://example.org/a?b=1&c=%20 now"
                           << QStringList{"4:https://example.org/a?b=1&c=%20"};
    QTest::newRow("www") << "Visit www.mud.net." << QStringList{"6:http://www.mud.net"};
    QTest::newRow("upper case") << "HTTP://X.ORG" << QStringList{"0:HTTP://X.ORG"};
    QTest::newRow("sentence end") << "(see http://a.b/c), or http://a.b/d!?"
                                  << QStringList{"5:http://a.b/c", "23:http://a.b/d"};
    QTest::newRow("brackets kept") << "http://w.org/Foo_(bar) x" << QStringList{"0:http://w.org/Foo_(bar)"};
    QTest::newRow("quoted") << "say 'http://q.io' <http://r.io>"
                            << QStringList{"5:http://q.io", "19:http://r.io"};
    QTest::newRow("inside a word") << "awww.x.org xhttp://y.org" << QStringList{};
    QTest::newRow("two, tab") << "http://1.io\twww.2.io"
                              << QStringList{"0:http://1.io", "12:http://www.2.io"};
}

void tst_TerminalText::findsLinks()
{
    QFETCH(QString, text);
    QFETCH(QStringList, links);
    QStringList found;
    for (const TerminalText::Link& link : TerminalText::findLinks(text)) {
        // The range shows the address as written; the url is what is opened.
        QVERIFY(link.url.endsWith(text.mid(link.start, link.length)));
        found << QString("%1:%2").arg(link.start).arg(link.url);
    }
    QCOMPARE(found, links);
}

OLVEX_TEST_MAIN(tst_TerminalText, QCoreApplication)
#include "tst_TerminalText.moc"
