#include "ui/ClientLines.h"

#include "ui/Theme.h"

namespace ClientLines {

namespace {

QString colouredLine(QLatin1String color, const QString& text)
{
    return Theme::ansiColored(color, text) + QLatin1Char('\n');
}

} // namespace

QString connected()
{
    return QStringLiteral("\n[CONNECTED]\n");
}

QString disconnected()
{
    return QStringLiteral("\n[DISCONNECTED]\n");
}

QString connectionError(const QString& host, int port, const QString& reason)
{
    return colouredLine(Theme::kErrorColor,
                        QStringLiteral("[ERROR] %1:%2 - %3").arg(host).arg(port).arg(reason));
}

QString commandNotSent(const QString& command)
{
    return colouredLine(
        Theme::kNoticeColor,
        QStringLiteral("[NOT SENT] Not connected, \"%1\" was not sent. Ctrl+R reconnects.").arg(command));
}

QString commandEcho(const QString& command)
{
    return colouredLine(Theme::kEchoColor, command);
}

QString luaError(const QString& message)
{
    return colouredLine(Theme::kErrorColor, QStringLiteral("[Lua error] ") + message);
}

QString scriptEcho(const QString& text)
{
    return text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n');
}

} // namespace ClientLines
