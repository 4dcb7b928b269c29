#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <array>
#include <functional>

// The state of every telnet option on both sides of one link, negotiated the
// RFC 1143 way: a request is answered only when it changes the state, so two
// peers can never talk each other into an endless WILL/DO exchange. We never
// ask to turn an option off, which leaves out that half of the method.
//
// Local options are ones we perform (the server asks with DO, we answer WILL
// or WONT); remote options are the server's (it offers WILL, we answer DO or
// DONT).
class TelnetOptions final {
public:
    enum class Side : quint8 { Local, Remote };

    // A server that keeps toggling one option is looping or hostile. Past this
    // many answers for one option we stop answering it for the rest of the
    // link, so no flood of requests can build up a queue of replies.
    static constexpr int kMaxAnswersPerOption = 32;

    // Answers go out through onSend before onChanged reports what they
    // changed, so a sub-negotiation sent on a change follows its WILL.
    std::function<void(const QByteArray&)> onSend;
    std::function<void(int option, Side side, bool enabled)> onChanged;

    void setSupported(int option, Side side);
    void reset();

    // Handles IAC verb option from the server, answering when needed.
    void receive(int verb, int option);
    // Asks the server to let us (Local) or it (Remote) use the option.
    void request(int option, Side side);

    bool isEnabled(int option, Side side) const;
    // Counts one answer towards the option's limit; false once it is spent.
    bool takeAnswer(int option);

private:
    enum class Q : quint8 { No, Yes, WantYes };
    struct State {
        Q local = Q::No;
        Q remote = Q::No;
        bool localSupported = false;
        bool remoteSupported = false;
        quint16 answers = 0;
    };

    void receiveOffer(State& state, Side side, int option, bool positive);
    void change(Q& q, Q to, int option, Side side);
    void send(int verb, int option);

    std::array<State, 256> states{};
};
