#include <QGuiApplication>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QtTest>

#include "lua/LuaSyntaxHighlighter.h"
#include "support/TestEnvironment.h"

namespace {

// "none" where no rule coloured the text, else the colour name with " bold" /
// " italic"; the descriptions of the characters of piece (its first occurrence
// in line) joined by " | " when they differ.
QString describePiece(const QTextDocument& document, int line, const QString& piece)
{
    const QTextBlock block = document.findBlockByNumber(line);
    const int start = block.text().indexOf(piece);
    if (start < 0)
        return QStringLiteral("<'%1' not in '%2'>").arg(piece, block.text());
    QStringList seen;
    for (int i = start; i < start + piece.size(); ++i) {
        QTextCharFormat format;
        for (const QTextLayout::FormatRange& range : block.layout()->formats())
            if (i >= range.start && i < range.start + range.length)
                format = range.format;
        QString d = format.foreground().style() == Qt::NoBrush ? QStringLiteral("none")
                                                               : format.foreground().color().name();
        d += format.fontWeight() == QFont::Bold ? " bold" : "";
        d += format.fontItalic() ? " italic" : "";
        if (!seen.contains(d))
            seen << d;
    }
    return seen.join(QStringLiteral(" | "));
}

} // namespace

class tst_LuaSyntaxHighlighter : public QObject {
    Q_OBJECT

private slots:
    void coloursPieces_data();
    void coloursPieces();
    void closingACommentRecoloursFollowingLines();
};

void tst_LuaSyntaxHighlighter::coloursPieces_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("piece");
    QTest::addColumn<QString>("expected");

    const char* trailing = "local x = 1 -- end";
    const char* opened = "x = 1 --[[\nend ]] y = 2";
    const char* dashes = "print(\"a -- b\")";
    const char* numbers = "a = 0x1F + 3.14 + 1e10 + x1";
    const char* twoComments = "a --[[ c ]] b = 2 --[[ d ]] if";
    const char* block = "--[[\nlocal a = 1\n]] return a";
    const struct {
        const char *tag, *source;
        int line;
        const char *piece, *expected;
    } rows[] = {
        {"keyword inside comment", trailing, 0, "-- end", "#808080 italic"},
        {"code before unclosed long comment", opened, 0, "x = 1 ", "none"},
        {"unclosed long comment", opened, 0, "--[[", "#808080 italic"},
        {"closing line up to brackets", opened, 1, "end ]]", "#808080 italic"},
        {"number after closing", opened, 1, "2", "#ffa500"},
        {"library function", dashes, 0, "print", "#ff00ff"},
        {"dashes in string", dashes, 0, "-- b\")", "#808080 italic"},
        {"string touching comment", dashes, 0, "\"a ", "none"},
        {"keyword inside string", "s = 'end'", 0, "end", "#0000ff bold"},
        {"long string", "t = [[long]]", 0, "[[long]]", "#808000"},
        {"engine api", "send(getMsdp('HP'))", 0, "getMsdp", "#00ffff"},
        {"exponent number", numbers, 0, "1e10", "#ffa500"},
        {"digit inside a name", numbers, 0, "+ x1", "none"},
        {"code after long comment", block, 2, "return", "#0000ff bold"},
        {"keyword after both comments", twoComments, 0, "if", "#0000ff bold"},
    };
    for (const auto& row : rows)
        QTest::newRow(row.tag) << QString::fromUtf8(row.source) << row.line << QString::fromUtf8(row.piece)
                               << QString::fromUtf8(row.expected);
}

void tst_LuaSyntaxHighlighter::coloursPieces()
{
    QFETCH(QString, source);
    QFETCH(int, line);
    QFETCH(QString, piece);
    QFETCH(QString, expected);

    QTextDocument document;
    document.documentLayout(); // changes are reported, and highlighted, only with a layout
    LuaSyntaxHighlighter highlighter(&document);
    document.setPlainText(source);
    QCOMPARE(describePiece(document, line, piece), expected);
}

void tst_LuaSyntaxHighlighter::closingACommentRecoloursFollowingLines()
{
    QTextDocument document;
    document.documentLayout();
    LuaSyntaxHighlighter highlighter(&document);
    document.setPlainText(QStringLiteral("--[[\nreturn x\nif y then end"));
    QCOMPARE(describePiece(document, 2, "if"), QString("#808080 italic"));
    QTextCursor(document.findBlockByNumber(1)).insertText(QStringLiteral("]]"));
    QCOMPARE(describePiece(document, 2, "if"), QString("#0000ff bold"));
    QTextCursor(&document).deleteChar(); // "-[[" no longer opens a comment
    QCOMPARE(describePiece(document, 1, "]]"), QString("none"));
}

OLVEX_TEST_MAIN(tst_LuaSyntaxHighlighter, QGuiApplication)
#include "tst_LuaSyntaxHighlighter.moc"
