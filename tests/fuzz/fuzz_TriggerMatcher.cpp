// libFuzzer target for TriggerMatcher. The input is read as Latin-1 and split
// at line feeds: the last piece is the game line, every other piece one
// trigger, a regex when its first character has an odd code, plain otherwise.
//
// Besides crashes, it checks that the joined searches find exactly the
// trigger and captures that trying each trigger on its own finds.

#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "script/TriggerMatcher.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QStringList pieces =
        QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size)).split(QLatin1Char('\n'));
    if (pieces.size() < 3 || pieces.size() > 9)
        return 0;
    QList<Trigger> triggers;
    for (qsizetype i = 0; i + 1 < pieces.size(); ++i) {
        Trigger trigger;
        const QString& piece = pieces.at(i);
        trigger.regex = !piece.isEmpty() && (piece.front().unicode() & 1);
        trigger.pattern = piece.mid(1);
        triggers.append(trigger);
    }
    const QString& line = pieces.last();

    TriggerMatcher joined;
    joined.setTriggers(triggers);
    const TriggerMatcher::Match actual = joined.firstMatch(line);

    TriggerMatcher::Match expected;
    for (qsizetype i = 0; i < triggers.size() && !expected.found(); ++i) {
        TriggerMatcher single; // one trigger: no joined search
        single.setTriggers({triggers.at(i)});
        expected = single.firstMatch(line);
        if (expected.found())
            expected.index = i;
    }
    if (actual.index != expected.index || actual.captures != expected.captures)
        std::abort();
    return 0;
}
