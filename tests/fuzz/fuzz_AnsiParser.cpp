// libFuzzer target for AnsiParser::parse. Every input byte is read as one
// Latin-1 character, as the telnet layer delivers game text, and the input is
// split at line feeds so the colour state is carried across calls as in play.
//
// Besides crashes, it checks that no produced run is empty and that the text
// left after parsing is exactly what removing the control sequences with the
// equivalent regular expressions leaves.

#include <QRegularExpression>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "terminal/AnsiParser.h"

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
        if (shown != expected)
            std::abort();
    }
    return 0;
}
