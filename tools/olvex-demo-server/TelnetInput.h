#pragma once

#include <QByteArray>
#include <QStringList>

// Turns the bytes a client sends into command lines. Telnet commands are
// dropped (the Olvex client announces TERMINAL-TYPE and NAWS and sends IAC NOP
// as a keep-alive; other clients answer our WILL MSDP), carriage returns are
// ignored, and a line feed ends a line. Lines come back as UTF-8 text with
// control characters removed, so nothing a player types can smuggle escape
// sequences or telnet bytes into what other players see.
class TelnetInput final {
public:
    QStringList feed(const QByteArray& bytes);

    // A client that never sends a line feed cannot grow the buffer past this;
    // the text collected so far is handed on as a line of its own.
    static constexpr int kMaxLineBytes = 4096;

private:
    enum class State { Data, Iac, Option, Subnegotiation, SubnegotiationIac };

    void finishLine(QStringList& lines);

    State state = State::Data;
    QByteArray pendingLine;
};
