#include "session/LineAssembler.h"

#include <utility>

LineAssembler::Line LineAssembler::takeLine()
{
    Line line;
    line.text = std::exchange(pendingLine, QString());
    line.shown = std::exchange(shownLength, 0);
    // A line that is only the server's own line break ends the prompt's
    // screen line by itself; one shown early got its break then.
    const bool onlyBreak = line.text.isEmpty() || line.text == QLatin1String("\r");
    line.breakBefore = promptOnScreen && line.shown == 0 && !onlyBreak;
    promptOnScreen = false;
    return line;
}

std::optional<LineAssembler::Line> LineAssembler::endPrompt()
{
    if (pendingLine.isEmpty())
        return std::nullopt;
    Line line = takeLine();
    promptOnScreen = true;
    return line;
}

QString LineAssembler::showPending()
{
    qsizetype visible = pendingLine.size();
    if (visible > 0 && pendingLine.back() == u'\r')
        --visible;
    if (visible <= shownLength)
        return QString();
    QString text = pendingLine.mid(shownLength, visible - shownLength);
    if (promptOnScreen && shownLength == 0)
        text.prepend(QLatin1Char('\n'));
    promptOnScreen = false;
    shownLength = visible;
    return text;
}
