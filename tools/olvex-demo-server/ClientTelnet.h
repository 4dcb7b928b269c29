#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

struct z_stream_s;

// The server's half of telnet with one client. Clients that negotiate get a
// standard game: prompts ended by IAC EOR (or GA) instead of a line feed,
// their terminal type and window size asked for, UTF-8 agreed, and the
// output compressed (MCCP2) when they accept it. A client that ignores
// negotiation gets what it always got: every offer it could show as a
// character is in the greeting, painted black on black, and nothing else it
// receives has a visible option byte (sub-negotiations and GA are invisible
// even to a client that does not understand them).
class ClientTelnet final {
public:
    ClientTelnet();
    ~ClientTelnet();
    ClientTelnet(const ClientTelnet&) = delete;
    ClientTelnet& operator=(const ClientTelnet&) = delete;

    // The hidden offers: WILL MSDP, WILL EOR, WILL CHARSET, WILL MCCP2,
    // DO TERMINAL-TYPE, DO NAWS, on a black line of its own.
    static QByteArray greeting();

    // What the client said; returns the bytes to answer with, already
    // encoded for the wire (write them unchanged).
    QByteArray receiveNegotiation(int verb, int option);
    QByteArray receiveSubnegotiation(int option, const QByteArray& payload);

    // Output for the wire: compressed once MCCP2 is on.
    QByteArray encode(const QByteArray& bytes);
    // Ends a prompt: a line feed for a client that does not negotiate.
    QByteArray promptEnd() const;

    // The client answered one of our offers: it speaks telnet.
    bool isStandardClient() const { return negotiating; }
    bool isCompressing() const { return compressing; }
    QString terminalType() const { return clientTerminalType; }
    int columns() const { return windowColumns; }

private:
    QByteArray startCompression();

    std::unique_ptr<z_stream_s> deflater;
    QString clientTerminalType;
    int windowColumns = 0;
    int terminalTypeRequests = 0;
    bool negotiating = false;
    bool endOfRecord = false;
    bool compressing = false;
    bool clientOffersTerminalType = false;
    bool charsetAsked = false;
};
