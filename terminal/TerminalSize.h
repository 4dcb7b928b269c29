#pragma once

#include <QSize>

class QFont;
class QTextBlockFormat;

namespace TerminalSize {

// Columns and rows of `font`'s characters that fit into `area` (pixels), with
// lines as tall as `lineFormat` makes them. What a server is told (NAWS) so it
// can wrap and page its text to the player's window; never below 1 by 1.
QSize inCharacters(const QFont& font, const QSize& area, const QTextBlockFormat& lineFormat);

} // namespace TerminalSize
