#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <functional>

#include "net/MccpInflater.h"
#include "net/TelnetOptions.h"
#include "net/TelnetParser.h"
#include "net/Utf8Decoder.h"

// The byte stream of a standard telnet server: UTF-8 text (Latin-1 where a
// sequence is not UTF-8), option negotiation that cannot loop, terminal type,
// window size, character set, prompts marked with GA or EOR, server echo,
// MSDP and MCCP2 compression. Nothing of the protocol ever reaches onText.
// Like TelnetParser it does no I/O: bytes to send go to onSend.
class StandardTelnetParser final {
public:
    static constexpr int kGa = 249;
    static constexpr int kEor = 239;
    static constexpr int kOptionEcho = 1;
    static constexpr int kOptionSga = 3;
    static constexpr int kOptionEor = 25;
    static constexpr int kOptionCharset = 42;
    static constexpr int kOptionMccp2 = 86;

    // Inflated bytes handled per call of parse or resume: about what one
    // socket read holds, so compressed input costs a turn of the event loop
    // no more than plain input does. Whatever is left waits for resume().
    static constexpr qsizetype kInflateBudget = 64 * 1024;

    // Text in pieces as it arrives (never across a protocol event).
    std::function<void(const QString&)> onText;
    // One MSDP pair flattened to "name=value", as TelnetParser reports it.
    std::function<void(const QString&)> onMsdpVariable;
    std::function<void()> onPromptEnd;
    std::function<void(bool)> onServerEcho;
    std::function<void(const QByteArray&)> onSend;
    // The stream cannot go on (corrupt compression); the link should close.
    std::function<void(const QString&)> onError;

    StandardTelnetParser();

    // A new link: every option off, a fresh terminal-type cycle. Sends our
    // own offers (WILL TERMINAL-TYPE, WILL NAWS).
    void reset();
    void parse(const QByteArray& data);
    // Compressed input that did not fit into the last budget is waiting.
    bool hasPendingInput() const { return inflater.hasPendingOutput(); }
    void resume();

    // Remembered, and sent at once while the server wants window sizes.
    void setWindowSize(int columns, int rows);

private:
    enum class State : quint8 { Data, Iac, Verb, Subnegotiation, SubnegotiationData, SubnegotiationIac };

    void parsePlain(const char* data, qsizetype size);
    void pump();
    // One byte outside the runs of text and sub-negotiation data; true when
    // it ended a sub-negotiation that starts compression.
    bool handleByte(uchar b);
    void handleIac(uchar command);
    void handleSubnegotiation();
    void answerTerminalType();
    void answerCharset();
    void startCompression(const char* rest, qsizetype size);
    void onOptionChanged(int option, TelnetOptions::Side side, bool enabled);
    void send(const QByteArray& bytes);
    void sendWindowSize();
    void appendText(const char* data, qsizetype size);
    void appendCarriageReturn();
    void flushText();
    void fail(const QString& message);

    TelnetOptions options;
    Utf8Decoder decoder;
    MccpInflater inflater;
    TelnetParser msdp; // only for its MSDP flattening
    State state = State::Data;
    uchar verb = 0;
    uchar subOption = 0;
    QByteArray subnegotiation;
    QString text;
    bool carriageReturn = false;
    bool failed = false;
    int terminalTypeAnswers = 0;
    int columns = 80;
    int rows = 24;
    // Set by a completed IAC SB MCCP2 IAC SE: the bytes after it are compressed.
    bool compressionStarts = false;
    // Parsing what the inflater produced: a second start inside it means nothing.
    bool inflatedOutput = false;
};
