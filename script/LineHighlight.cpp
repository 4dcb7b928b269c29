#include "script/LineHighlight.h"

#include <QColor>
#include <QRegularExpression>

QString LineHighlight::apply(const QString& line, const QString& colorName, bool wholeVisibleLine)
{
    const QColor color(colorName);
    const QString start = QStringLiteral("\x1b[38;2;") + QString::number(color.red()) + QLatin1Char(';') +
                          QString::number(color.green()) + QLatin1Char(';') + QString::number(color.blue()) +
                          QLatin1Char('m');
    QString body = line;
    if (wholeVisibleLine && line.contains(QLatin1Char('\x1b'))) {
        static const QRegularExpression sgr(QStringLiteral("(\\x1b\\[[0-9;]*m)"));
        body.replace(sgr, QStringLiteral("\\1") + start);
    }
    return start + body + QStringLiteral("\x1b[0m");
}
