#pragma once

#include <QByteArray>

// Colour sequences for the demo's game text. Everything the server writes is
// ASCII: the client reads game text one Latin-1 byte per character, so plain
// ASCII plus escape sequences looks the same in every client.
namespace Ansi {

inline constexpr char kReset[] = "\x1b[0m";
inline constexpr char kBold[] = "\x1b[1m";
inline constexpr char kBlack[] = "\x1b[30m";
inline constexpr char kRed[] = "\x1b[31m";
inline constexpr char kGreen[] = "\x1b[32m";
inline constexpr char kYellow[] = "\x1b[33m";
inline constexpr char kBlue[] = "\x1b[34m";
inline constexpr char kMagenta[] = "\x1b[35m";
inline constexpr char kCyan[] = "\x1b[36m";
inline constexpr char kWhite[] = "\x1b[37m";
inline constexpr char kBrightBlack[] = "\x1b[90m";
inline constexpr char kBoldRed[] = "\x1b[1;31m";
inline constexpr char kBoldGreen[] = "\x1b[1;32m";
inline constexpr char kBoldYellow[] = "\x1b[1;33m";
inline constexpr char kBoldCyan[] = "\x1b[1;36m";
inline constexpr char kBoldMagenta[] = "\x1b[1;35m";

// 256-colour foreground, e.g. 208 for the orange of fire and sand.
inline QByteArray fg256(int index)
{
    return "\x1b[38;5;" + QByteArray::number(index) + 'm';
}

// Truecolour foreground, used sparingly for room titles and the banner.
inline QByteArray rgb(int red, int green, int blue)
{
    return "\x1b[38;2;" + QByteArray::number(red) + ';' + QByteArray::number(green) + ';' +
           QByteArray::number(blue) + 'm';
}

} // namespace Ansi
