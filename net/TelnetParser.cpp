#include "net/TelnetParser.h"

#include <array>
#include <cstring>

namespace {

// Every byte value as a one-character UTF-16 string, each followed by a NUL so
// that entry b (at index 2 * b) is a terminated string of its own.
struct Latin1Table {
    QChar units[512];

    constexpr Latin1Table()
        : units{}
    {
        for (int b = 0; b < 256; ++b)
            units[2 * b] = QChar(char16_t(b));
    }
};

constexpr Latin1Table kLatin1;

// Game text leaves the parser one character per callback, which makes this
// the hottest path of the client. Strings made with fromRawData over the
// constant table own no heap block, so handing one out costs nothing, and a
// receiver that keeps a copy holds a pointer into a table that lives as long
// as the program. Receivers only ever see them as const. The array itself is
// not const because QString::utf16() on a raw-data string re-allocates it in
// place (through a const_cast), which must not land on a const object.
const QString* latin1Characters()
{
    static auto characters = [] {
        std::array<QString, 256> table;
        for (int b = 0; b < 256; ++b)
            table[size_t(b)] = QString::fromRawData(&kLatin1.units[2 * b], 1);
        return table;
    }();
    return characters.data();
}

QByteArray buildCommand(int verb, int option)
{
    const char bytes[] = {char(TelnetParser::kIac), char(verb), char(option & 0xFF)};
    return QByteArray(bytes, sizeof bytes);
}

} // namespace

void TelnetParser::parse(const QByteArray& data)
{
    const QString* const characters = latin1Characters();
    const char* p = data.constData();
    const char* const end = p + data.size();
    while (p < end) {
        if (state == Data) {
            // Same as processText, with the table looked up once per chunk.
            const int b = uchar(*p);
            if (b == kIac)
                state = Iac;
            else
                onText(characters[b]);
            ++p;
        } else if (state == SubnegotiationData) {
            p = takeSubnegotiationRun(p, end);
        } else {
            processCommandByte(uchar(*p));
            ++p;
        }
    }
}

const char* TelnetParser::takeSubnegotiationRun(const char* p, const char* end)
{
    // Take the whole run up to the next IAC at once: payloads can be large and
    // this keeps the cost at one memchr and one append.
    const auto* iac = static_cast<const char*>(std::memchr(p, kIac, size_t(end - p)));
    const char* const runEnd = iac ? iac : end;
    appendSubnegotiation(p, runEnd - p);
    if (!iac)
        return end;
    state = SubnegotiationIac;
    return runEnd + 1;
}

void TelnetParser::processCommandByte(int b)
{
    switch (state) {
    case Iac:
        // Only SB and an escaped 255 mean anything here. SE and every other
        // command byte, the negotiation verbs included, is dropped on its
        // own, so the option byte after a verb reaches the player as text.
        // The client announces its own options on connect and deliberately
        // answers nothing the server offers.
        if (b == kSb) {
            state = Subnegotiation;
        } else {
            state = Data;
            if (b == kIac)
                processText(char(b));
        }
        break;
    case Option: {
        // Unreachable from the loop itself; only an owner that sets the
        // state by hand gets here. The stored option doubles as the verb.
        const int previous = currentOption;
        currentOption = b;
        processIac(previous, b);
        state = Data;
        break;
    }
    case Subnegotiation:
        currentOption = b;
        subnegotiationBuffer.clear();
        state = SubnegotiationData;
        break;
    case SubnegotiationIac:
        processSubnegotiationIac(b);
        break;
    default:
        // An owner may have stored any value; such a byte is dropped.
        break;
    }
}

void TelnetParser::processSubnegotiationIac(int b)
{
    if (b == kSe) {
        state = Data;
        if (currentOption == kOptionMsdp) {
            // A copy shares the bytes; it keeps the payload intact even if a
            // callback feeds the parser again and a new SB clears the buffer
            // underneath.
            const QByteArray payload = subnegotiationBuffer;
            processMsdp(payload);
        }
    } else {
        // IAC IAC is an escaped 255; any other byte after IAC is kept as it
        // is, so a sloppy server loses nothing.
        const char byte = char(b);
        appendSubnegotiation(&byte, 1);
        state = SubnegotiationData;
    }
}

void TelnetParser::processText(char c)
{
    // No decoding on the receive path: each byte is one Latin-1 character.
    onText(latin1Characters()[uchar(c)]);
}

void TelnetParser::processIac(int command, int option)
{
    switch (command) {
    case kDo:
        if (option == kOptionTerminalType)
            onDo(option);
        break;
    case kWill:
        if (option == kOptionMsdp || option == kOptionNaws)
            onWill(option);
        break;
    case kSb:
        if (option == kOptionMsdp) {
            const QByteArray payload = subnegotiationBuffer;
            processMsdp(payload);
        }
        break;
    default:
        break;
    }
}

void TelnetParser::processMsdp(const QByteArray& payload)
{
    // MSDP tables and arrays are not interpreted: their bytes become ordinary
    // characters, and a nested table comes out as a run of flat pairs. The
    // consumers rely on exactly this shape, so keep it.
    QString name;
    QString value;
    bool readingName = true;
    const auto report = [&] {
        if (!name.isEmpty() && !value.isEmpty())
            onMsdpVariable(name + QLatin1Char('=') + value);
    };
    for (const char byte : payload) {
        if (byte == kMsdpVal) {
            readingName = false;
        } else if (byte == kMsdpVar) {
            report();
            name.clear();
            value.clear();
            readingName = true;
        } else {
            (readingName ? name : value).append(QChar(char16_t(uchar(byte))));
        }
    }
    report();
}

void TelnetParser::processTerminalType(const QByteArray&)
{
    // The client announces TERMINAL-TYPE but never answers the server's SEND.
}

QByteArray TelnetParser::buildDoCommand(int option)
{
    return buildCommand(kDo, option);
}

QByteArray TelnetParser::buildWillCommand(int option)
{
    return buildCommand(kWill, option);
}

QByteArray TelnetParser::buildWontCommand(int option)
{
    return buildCommand(kWont, option);
}

QByteArray TelnetParser::buildDontCommand(int option)
{
    return buildCommand(kDont, option);
}

QByteArray TelnetParser::buildSubnegotiation(int option, const QByteArray& payload)
{
    // The payload goes out as given: callers only pass MSDP text, which as
    // UTF-8 never contains the byte 255.
    QByteArray bytes;
    bytes.reserve(payload.size() + 5);
    bytes.append(char(kIac)).append(char(kSb)).append(char(option & 0xFF));
    bytes.append(payload);
    bytes.append(char(kIac)).append(char(kSe));
    return bytes;
}

QByteArray TelnetParser::buildMsdpVariable(const QString& name, const QString& value)
{
    QByteArray payload;
    payload.append(kMsdpVar).append(name.toUtf8()).append(kMsdpVal).append(value.toUtf8());
    return payload;
}

void TelnetParser::appendSubnegotiation(const char* bytes, qsizetype count)
{
    const qsizetype room = kSubnegotiationCap - subnegotiationBuffer.size();
    if (room > 0)
        subnegotiationBuffer.append(bytes, qMin(count, room));
}
