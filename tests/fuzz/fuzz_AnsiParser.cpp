// libFuzzer target for AnsiParser::parse. Every input byte is read as one
// Latin-1 character, as the telnet layer delivers game text, and the input is
// split at line feeds so the colour state is carried across calls as in play.
//
// Besides crashes, it checks that no produced run is empty and that the text
// left after parsing, and plainText, are exactly what removing the control
// sequences with the equivalent regular expressions leaves; and that the
// terminal's cutting of long lines keeps every drawable character and bounds
// every line, and its links lie inside the text, in order.

#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "terminal/AnsiParser.h"
#include "terminal/TerminalText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QRegularExpression nonSgr(QStringLiteral("\\x1b\\[(?![0-9;]*m)[^\\x1b]*?[@-Z\\[-_`a-z]"));
    static const QRegularExpression sgr(QStringLiteral("\\x1b\\[[0-9;]*m"));

    const QString input = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size));
    AnsiParser parser;
    for (const QString& line : input.split(QLatin1Char('\n'))) {
        QString shown;
        for (const AnsiParser::FormatRun& run : parser.parse(line)) {
            if (run.text.isEmpty())
                std::abort();
            shown += run.text;
        }
        QString expected = line;
        expected.remove(nonSgr).remove(sgr);
        if (shown != expected || AnsiParser::plainText(line) != expected)
            std::abort();

        QString cutText;
        for (const AnsiParser::FormatRun& run :
             TerminalText::cutLongLines(TerminalText::drawableRuns(parser.parse(line)), 0, 16, 4)) {
            if (run.text.isEmpty())
                std::abort();
            cutText += run.text;
        }
        for (const QString& piece : cutText.split(QLatin1Char('\n'))) {
            if (piece.size() > 17) // a surrogate pair is never split
                std::abort();
        }
        if (cutText.remove(QLatin1Char('\n')) != TerminalText::drawable(shown))
            std::abort();
        qsizetype linkEnd = 0;
        for (const TerminalText::Link& link : TerminalText::findLinks(shown)) {
            if (link.start < linkEnd || link.length <= 0 || link.start + link.length > shown.size())
                std::abort();
            linkEnd = link.start + link.length;
        }
    }
    return 0;
}
