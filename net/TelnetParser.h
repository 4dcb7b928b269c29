#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <functional>

// Splits the raw byte stream from a game server into game text and MSDP
// variables, and builds the few telnet sequences the client sends. It does no
// I/O and owns no timers: the connection feeds it bytes and listens through the
// callbacks, so every corner of the protocol can be exercised with plain bytes.
//
// All five callbacks must be installed before the first byte arrives; calling
// one that is empty throws std::bad_function_call, which is a bug in the owner.
class TelnetParser final {
public:
    // Values are part of the object's observable state and must not change.
    enum State : qint32 {
        Data = 0,
        Iac = 1,
        Option = 2,
        Subnegotiation = 3,
        SubnegotiationData = 4,
        SubnegotiationIac = 5,
    };

    static constexpr int kIac = 255;
    static constexpr int kDont = 254;
    static constexpr int kDo = 253;
    static constexpr int kWont = 252;
    static constexpr int kWill = 251;
    static constexpr int kSb = 250;
    static constexpr int kNop = 241;
    static constexpr int kSe = 240;

    static constexpr int kOptionTerminalType = 24;
    static constexpr int kOptionNaws = 31;
    static constexpr int kOptionMsdp = 69;

    static constexpr char kMsdpVar = 1;
    static constexpr char kMsdpVal = 2;

    // Upper bound on the payload kept for one sub-negotiation: 1 MiB. A server
    // that opens IAC SB and never closes it would otherwise grow the buffer
    // until the client runs out of memory. Real MSDP updates are a few hundred
    // bytes, so nothing legitimate comes near it. Bytes past the cap are
    // dropped while the parser keeps waiting for IAC SE, which ends the
    // sub-negotiation as usual (an MSDP payload is then flattened truncated).
    static constexpr qsizetype kSubnegotiationCap = qsizetype(1) << 20;

    std::function<void(const QString&)> onText;
    std::function<void(const QString&)> onMsdpVariable;
    std::function<void(const QString&)> onError;
    std::function<void(int)> onWill;
    std::function<void(int)> onDo;

    qint32 state = Data;
    qint32 currentOption = 0;
    QByteArray subnegotiationBuffer;

    void parse(const QByteArray& data);

    void processText(char c);
    void processIac(int command, int option);
    void processMsdp(const QByteArray& payload);
    void processTerminalType(const QByteArray& payload);

    static QByteArray buildDoCommand(int option);
    static QByteArray buildWillCommand(int option);
    static QByteArray buildWontCommand(int option);
    static QByteArray buildDontCommand(int option);
    static QByteArray buildSubnegotiation(int option, const QByteArray& payload);
    static QByteArray buildMsdpVariable(const QString& name, const QString& value);

private:
    // The bytes of a sub-negotiation up to the next IAC; returns where
    // parsing goes on.
    const char* takeSubnegotiationRun(const char* p, const char* end);
    // One byte in any state but Data and SubnegotiationData.
    void processCommandByte(int b);
    void processSubnegotiationIac(int b);
    // Appends to the sub-negotiation payload, silently dropping what would
    // grow it past kSubnegotiationCap.
    void appendSubnegotiation(const char* bytes, qsizetype count);
};
