#include "tools/olvex-demo-server/TelnetInput.h"

namespace {

constexpr char kIac = char(255);
constexpr unsigned char kSb = 250;
constexpr unsigned char kSe = 240;
constexpr unsigned char kWill = 251;
constexpr unsigned char kDont = 254;

QString cleanLine(const QByteArray& bytes)
{
    QString text = QString::fromUtf8(bytes);
    QString clean;
    clean.reserve(text.size());
    for (QChar ch : text) {
        if (ch == QLatin1Char('\t'))
            clean += QLatin1Char(' ');
        else if (ch.category() != QChar::Other_Control)
            clean += ch;
    }
    return clean;
}

} // namespace

QStringList TelnetInput::feed(const QByteArray& bytes)
{
    QStringList lines;
    for (char byte : bytes) {
        const auto b = static_cast<unsigned char>(byte);
        switch (state) {
        case State::Data:
            if (byte == kIac)
                state = State::Iac;
            else if (byte == '\n')
                finishLine(lines);
            else if (byte != '\r' && byte != '\0')
                pendingLine += byte;
            if (pendingLine.size() >= kMaxLineBytes)
                finishLine(lines);
            break;
        case State::Iac:
            if (b >= kWill && b <= kDont) {
                verb = b;
                state = State::Option;
            } else if (b == kSb) {
                subnegotiation.clear();
                state = State::Subnegotiation;
            } else {
                // IAC IAC is an escaped data byte; 255 is never valid UTF-8, so
                // it is dropped here rather than turned into a replacement mark.
                state = State::Data;
            }
            break;
        case State::Option:
            state = State::Data;
            if (onNegotiation)
                onNegotiation(verb, b);
            break;
        case State::Subnegotiation:
            if (byte == kIac)
                state = State::SubnegotiationIac;
            else if (subnegotiation.size() < kMaxSubnegotiationBytes)
                subnegotiation += byte;
            break;
        case State::SubnegotiationIac:
            if (b == kSe) {
                state = State::Data;
                if (onSubnegotiation && !subnegotiation.isEmpty())
                    onSubnegotiation(uchar(subnegotiation[0]), subnegotiation.mid(1));
            } else {
                if (byte == kIac && subnegotiation.size() < kMaxSubnegotiationBytes)
                    subnegotiation += byte;
                state = State::Subnegotiation;
            }
            break;
        }
    }
    return lines;
}

void TelnetInput::finishLine(QStringList& lines)
{
    lines << cleanLine(pendingLine);
    pendingLine.clear();
}
