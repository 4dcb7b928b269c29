#include "lua/LuaErrorText.h"

#include <QRegularExpression>

namespace LuaErrorText {

QString withShortFileNames(const QString& message, const QString& scriptDir)
{
    // A place that Lua cut short starts with "..." and ends with the file's
    // name; everything up to the last "/" before the name goes.
    static const QRegularExpression shortenedPlace(
        QStringLiteral(R"((^|\s)\.\.\.[^\n]*?/(?=[^/\n]*\.lua:\d+:))"));
    QString result = message;
    if (!scriptDir.isEmpty())
        result.replace(scriptDir + QLatin1Char('/'), QString());
    return result.replace(shortenedPlace, QStringLiteral("\\1"));
}

QString forCall(const QString& module, const QString& function, const QString& message,
                const QString& scriptDir)
{
    const QString text = withShortFileNames(message, scriptDir);
    if (module.isEmpty())
        return function + QStringLiteral(": ") + text;
    // "demo.lua:12: attempt ..." becomes "demo.lua:12: onHit: attempt ...".
    const QRegularExpression ownPlace(QStringLiteral("^(%1:\\d+): ").arg(QRegularExpression::escape(module)));
    const QRegularExpressionMatch place = ownPlace.match(text);
    if (place.hasMatch())
        return place.captured(1) + QStringLiteral(": ") + function + QStringLiteral(": ") +
               text.mid(place.capturedLength());
    return module + QStringLiteral(": ") + function + QStringLiteral(": ") + text;
}

QString forLoad(const QString& module, const QString& message, const QString& scriptDir)
{
    const QString text = withShortFileNames(message, scriptDir);
    if (text.startsWith(module + QLatin1Char(':')))
        return text;
    return module + QStringLiteral(": ") + text;
}

} // namespace LuaErrorText
