#include <QtTest>

#include "session/LineAssembler.h"
#include "support/TestEnvironment.h"

namespace {

const QString kGa = QStringLiteral("<GA>");
const QString kIdle = QStringLiteral("<IDLE>");

// Plays the pieces the way a session does (text, a prompt mark, an idle
// pause) and returns what the screen got and which lines were complete.
QPair<QString, QStringList> play(const QStringList& pieces)
{
    LineAssembler assembler;
    QString screen;
    QStringList lines;
    auto show = [&](const LineAssembler::Line& line, bool lineFeed) {
        lines << line.text;
        screen += (line.breakBefore ? "\n" : "") + line.text.mid(line.shown) + (lineFeed ? "\n" : "");
    };
    for (const QString& piece : pieces) {
        if (piece == kGa) {
            if (auto prompt = assembler.endPrompt())
                show(*prompt, false);
        } else if (piece == kIdle) {
            screen += assembler.showPending();
        } else {
            assembler.append(piece, [&](LineAssembler::Line&& line) { show(line, true); });
        }
    }
    return {screen, lines};
}

} // namespace

class tst_LineAssembler : public QObject {
    Q_OBJECT

private slots:
    void assemblesLines_data();
    void assemblesLines();
};

void tst_LineAssembler::assemblesLines_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("screen");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("pieces across calls, CR kept")
        << QStringList{"ab", "c", "\r\nde", "\n\n>> hp\nx", "\n"} << "abc\r\nde\n\n>> hp\nx\n"
        << QStringList{"abc\r", "de", "", ">> hp", "x"};
    QTest::newRow("unmarked text waits for its line feed")
        << QStringList{"Password: "} << "" << QStringList{};
    QTest::newRow("prompt mark shows it, next text on a new line")
        << QStringList{"Password: ", kGa, "Welcome\n"} << "Password: \nWelcome\n"
        << QStringList{"Password: ", "Welcome"};
    QTest::newRow("server's own break after a prompt")
        << QStringList{"<100hp> ", kGa, "\r", "\nYou rest.\r\n"} << "<100hp> \r\nYou rest.\r\n"
        << QStringList{"<100hp> ", "\r", "You rest.\r"};
    QTest::newRow("idle shows early, rest completes the same line")
        << QStringList{"You see a bi", kIdle, kIdle, "g dog.\n"} << "You see a big dog.\n"
        << QStringList{"You see a big dog."};
    QTest::newRow("idle, then the prompt mark")
        << QStringList{"HP: 5> ", kIdle, kGa, "look\n"} << "HP: 5> \nlook\n"
        << QStringList{"HP: 5> ", "look"};
    QTest::newRow("idle holds back a trailing CR") << QStringList{"abc\r", kIdle, "\n"} << "abc\r\n"
                                                   << QStringList{"abc\r"};
    QTest::newRow("prompt mark with nothing waiting")
        << QStringList{"line\n", kGa, "next\n"} << "line\nnext\n"
        << QStringList{"line", "next"};
    QTest::newRow("early text after a prompt starts a new line")
        << QStringList{"> ", kGa, "Mo", kIdle, "re\n"} << "> \nMore\n"
        << QStringList{"> ", "More"};
    QTest::newRow("prompt after prompt")
        << QStringList{"a> ", kGa, "b> ", kGa} << "a> \nb> " << QStringList{"a> ", "b> "};

    const qsizetype cap = LineAssembler::kMaxPendingLine;
    const QString full(cap, 'a');
    QStringList singles;
    for (qsizetype i = 0; i < cap + 3; ++i)
        singles << "a";
    QTest::newRow("endless line cut at the bound, one call")
        << QStringList{QString(cap + 3, 'a'), "\n"} << full + "\naaa\n"
        << QStringList{full, "aaa"};
    QTest::newRow("endless line cut at the bound, per character") << (singles << "\n") << full + "\naaa\n"
                                                                  << QStringList{full, "aaa"};
    QTest::newRow("line of exactly the bound stays one") << QStringList{full + "\n", "b\n"} << full + "\nb\n"
                                                         << QStringList{full, "b"};
}

void tst_LineAssembler::assemblesLines()
{
    QFETCH(QStringList, pieces);
    QFETCH(QString, screen);
    QFETCH(QStringList, lines);
    const auto [shown, complete] = play(pieces);
    QCOMPARE(shown, screen);
    QCOMPARE(complete, lines);
}

OLVEX_TEST_MAIN(tst_LineAssembler, QCoreApplication)
#include "tst_LineAssembler.moc"
