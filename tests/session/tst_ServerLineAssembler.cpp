#include <QtTest>

#include "session/ServerLineAssembler.h"
#include "support/TestEnvironment.h"

namespace {

const QString kGa = QStringLiteral("<GA>");
const QString kIdle = QStringLiteral("<IDLE>");

// Plays the pieces the way a session does (text, a prompt mark, an idle
// pause) and returns what the screen got and which lines were complete.
QPair<QString, QStringList> play(const QStringList& pieces)
{
    ServerLineAssembler assembler;
    QString screen;
    QStringList lines;
    auto show = [&](const ServerLineAssembler::Line& line, bool lineFeed) {
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
            assembler.append(piece, [&](ServerLineAssembler::Line&& line) { show(line, true); });
        }
    }
    return {screen, lines};
}

void row(const char* name, const QStringList& pieces, const QString& screen, const QStringList& lines)
{
    QTest::newRow(name) << pieces << screen << lines;
}

} // namespace

class tst_ServerLineAssembler : public QObject {
    Q_OBJECT

private slots:
    void assemblesLines_data();
    void assemblesLines();
};

void tst_ServerLineAssembler::assemblesLines_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("screen");
    QTest::addColumn<QStringList>("lines");

    row("pieces across calls, CR kept", {"ab", "c", "\r\nde", "\n\n>> hp\nx", "\n"},
        "abc\r\nde\n\n>> hp\nx\n", {"abc\r", "de", "", ">> hp", "x"});
    row("unmarked text waits for its line feed", {"Password: "}, "", {});
    row("prompt mark shows it, next text on a new line", {"Password: ", kGa, "Welcome\n"},
        "Password: \nWelcome\n", {"Password: ", "Welcome"});
    row("server's own break after a prompt", {"<100hp> ", kGa, "\r", "\nYou rest.\r\n"},
        "<100hp> \r\nYou rest.\r\n", {"<100hp> ", "\r", "You rest.\r"});
    row("idle shows early, rest completes the same line", {"You see a bi", kIdle, kIdle, "g dog.\n"},
        "You see a big dog.\n", {"You see a big dog."});
    row("idle, then the prompt mark", {"HP: 5> ", kIdle, kGa, "look\n"}, "HP: 5> \nlook\n",
        {"HP: 5> ", "look"});
    row("idle holds back a trailing CR", {"abc\r", kIdle, "\n"}, "abc\r\n", {"abc\r"});
    row("prompt mark with nothing waiting", {"line\n", kGa, "next\n"}, "line\nnext\n", {"line", "next"});
    row("early text after a prompt starts a new line", {"> ", kGa, "Mo", kIdle, "re\n"}, "> \nMore\n",
        {"> ", "More"});
    row("prompt after prompt", {"a> ", kGa, "b> ", kGa}, "a> \nb> ", {"a> ", "b> "});

    const qsizetype cap = ServerLineAssembler::kMaxPendingLine;
    const QString full(cap, 'a');
    const QStringList singles(cap + 3, "a");
    row("endless line cut at the bound, one call", {QString(cap + 3, 'a'), "\n"}, full + "\naaa\n",
        {full, "aaa"});
    row("endless line cut at the bound, per character", singles + QStringList{"\n"}, full + "\naaa\n",
        {full, "aaa"});
    row("line of exactly the bound stays one", {full + "\n", "b\n"}, full + "\nb\n", {full, "b"});
}

void tst_ServerLineAssembler::assemblesLines()
{
    QFETCH(QStringList, pieces);
    QFETCH(QString, screen);
    QFETCH(QStringList, lines);
    const auto [shown, complete] = play(pieces);
    QCOMPARE(shown, screen);
    QCOMPARE(complete, lines);
}

OLVEX_TEST_MAIN(tst_ServerLineAssembler, QCoreApplication)
#include "tst_ServerLineAssembler.moc"
