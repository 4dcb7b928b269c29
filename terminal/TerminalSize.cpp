#include "terminal/TerminalSize.h"

#include <QFont>
#include <QFontMetricsF>
#include <QTextBlockFormat>

#include <cmath>

namespace TerminalSize {

QSize inCharacters(const QFont& font, const QSize& area, const QTextBlockFormat& lineFormat)
{
    const QFontMetricsF metrics(font);
    qreal lineHeight = metrics.lineSpacing();
    if (lineFormat.lineHeightType() == QTextBlockFormat::ProportionalHeight)
        lineHeight *= lineFormat.lineHeight() / 100.0;
    const qreal charWidth = metrics.horizontalAdvance(QLatin1Char('M'));
    if (lineHeight <= 0 || charWidth <= 0)
        return {1, 1};
    // Whole characters only: a column cut in half would wrap the server's line.
    const int columns = int(std::floor(area.width() / charWidth));
    const int rows = int(std::floor(area.height() / lineHeight));
    return {qMax(1, columns), qMax(1, rows)};
}

} // namespace TerminalSize
