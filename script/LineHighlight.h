#pragma once

#include <QString>

// Colours one line of game text for the terminal, as a trigger asked.
class LineHighlight final {
public:
    // The line wrapped in a 24-bit foreground of the named colour (the
    // toolkit's colour names and "#RRGGBB"; an unknown name gives black) and
    // a reset. With wholeVisibleLine the colour is set again after each of
    // the line's own SGR sequences, so a reset or a colour inside the line
    // does not end the highlight; backgrounds and bold of the line stay.
    static QString apply(const QString& line, const QString& colorName, bool wholeVisibleLine);
};
