#pragma once

#include <QString>

// The lines the client itself writes into a session's output, each with its
// line feed and, where it must stand out from the game's text, its colour.
namespace ClientLines {

QString connected();
QString disconnected();
// "[ERROR] host:port - reason" in the error colour.
QString connectionError(const QString& host, int port, const QString& reason);
QString commandNotSent(const QString& command);
// A typed command, shown as typed in the echo colour.
QString commandEcho(const QString& command);
QString luaError(const QString& message);
// Text a script shows locally, kept as it is apart from its line end.
QString scriptEcho(const QString& text);

} // namespace ClientLines
