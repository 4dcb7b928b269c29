#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

// Server bytes written readably: "<IAC><SB><MSDP><VAR>HP<VAL>10<IAC><SE>".
inline QByteArray wire(QByteArray text)
{
    const QList<QPair<QByteArray, char>> names = {
        {"<IAC>", '\xFF'},   {"<SB>", '\xFA'},   {"<SE>", '\xF0'},      {"<WILL>", '\xFB'},
        {"<WONT>", '\xFC'},  {"<DO>", '\xFD'},   {"<DONT>", '\xFE'},    {"<GA>", '\xF9'},
        {"<EOR>", '\xEF'},   {"<ECHO>", '\x01'}, {"<SGA>", '\x03'},     {"<TTYPE>", '\x18'},
        {"<NAWS>", '\x1F'},  {"<EORO>", '\x19'}, {"<CHARSET>", '\x2A'}, {"<MSDP>", '\x45'},
        {"<MCCP2>", '\x56'}, {"<NUL>", '\x00'},  {"<VAR>", '\x01'},     {"<VAL>", '\x02'},
        {"<TO>", '\x03'},    {"<TC>", '\x04'}};
    for (const auto& [name, byte] : names)
        text.replace(name, QByteArray(1, byte));
    return text;
}
