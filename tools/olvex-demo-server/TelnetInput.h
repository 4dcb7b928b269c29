#pragma once

#include <QByteArray>
#include <QStringList>

#include <functional>

// Turns the bytes a client sends into command lines. Telnet negotiation goes
// to the callbacks (when set) instead of into the text, carriage returns are
// ignored, and a line feed ends a line. Lines come back as UTF-8 text with
// control characters removed, so nothing a player types can smuggle escape
// sequences or telnet bytes into what other players see.
class TelnetInput final {
public:
    QStringList feed(const QByteArray& bytes);

    // A client that never sends a line feed cannot grow the buffer past this;
    // the text collected so far is handed on as a line of its own.
    static constexpr int kMaxLineBytes = 4096;
    // Longer sub-negotiations are cut: nothing a client says needs more.
    static constexpr int kMaxSubnegotiationBytes = 256;

    // IAC WILL/WONT/DO/DONT option, and IAC SB option payload IAC SE.
    std::function<void(int verb, int option)> onNegotiation;
    std::function<void(int option, const QByteArray& payload)> onSubnegotiation;

private:
    enum class State { Data, Iac, Option, Subnegotiation, SubnegotiationIac };

    void finishLine(QStringList& lines);

    State state = State::Data;
    int verb = 0;
    QByteArray pendingLine;
    QByteArray subnegotiation;
};
