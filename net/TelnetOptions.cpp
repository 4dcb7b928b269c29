#include "net/TelnetOptions.h"

#include "net/TelnetParser.h"

void TelnetOptions::setSupported(int option, Side side)
{
    State& state = states[uchar(option)];
    (side == Side::Local ? state.localSupported : state.remoteSupported) = true;
}

void TelnetOptions::reset()
{
    for (State& state : states) {
        state.local = Q::No;
        state.remote = Q::No;
        state.answers = 0;
    }
}

void TelnetOptions::receive(int verb, int option)
{
    State& state = states[uchar(option)];
    if (verb == TelnetParser::kWill || verb == TelnetParser::kWont)
        receiveOffer(state, Side::Remote, option, verb == TelnetParser::kWill);
    else if (verb == TelnetParser::kDo || verb == TelnetParser::kDont)
        receiveOffer(state, Side::Local, option, verb == TelnetParser::kDo);
}

void TelnetOptions::receiveOffer(State& state, Side side, int option, bool positive)
{
    const bool local = side == Side::Local;
    Q& q = local ? state.local : state.remote;
    const bool supported = local ? state.localSupported : state.remoteSupported;
    const int yes = local ? TelnetParser::kWill : TelnetParser::kDo;
    const int no = local ? TelnetParser::kWont : TelnetParser::kDont;
    if (positive) {
        if (q == Q::WantYes) { // the answer to our own request
            change(q, Q::Yes, option, side);
        } else if (q == Q::No && takeAnswer(option)) {
            send(supported ? yes : no, option);
            if (supported)
                change(q, Q::Yes, option, side);
        }
        return;
    }
    if (q == Q::No)
        return;
    const bool wasYes = q == Q::Yes;
    if (wasYes && takeAnswer(option))
        send(no, option); // a refusal of our own request needs no answer
    change(q, Q::No, option, side);
}

void TelnetOptions::request(int option, Side side)
{
    State& state = states[uchar(option)];
    Q& q = side == Side::Local ? state.local : state.remote;
    if (q != Q::No)
        return;
    q = Q::WantYes;
    send(side == Side::Local ? TelnetParser::kWill : TelnetParser::kDo, option);
}

void TelnetOptions::send(int verb, int option)
{
    const char bytes[] = {char(TelnetParser::kIac), char(verb), char(option)};
    if (onSend)
        onSend(QByteArray(bytes, sizeof bytes));
}

bool TelnetOptions::isEnabled(int option, Side side) const
{
    const State& state = states[uchar(option)];
    return (side == Side::Local ? state.local : state.remote) == Q::Yes;
}

bool TelnetOptions::takeAnswer(int option)
{
    State& state = states[uchar(option)];
    if (state.answers >= kMaxAnswersPerOption)
        return false;
    ++state.answers;
    return true;
}

void TelnetOptions::change(Q& q, Q to, int option, Side side)
{
    const bool was = q == Q::Yes;
    q = to;
    if (was != (to == Q::Yes) && onChanged)
        onChanged(option, side, to == Q::Yes);
}
