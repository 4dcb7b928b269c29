#include "net/StandardTelnetParser.h"

#include <QList>

#include <iterator>
#include <utility>

namespace {

constexpr uchar kIac = TelnetParser::kIac;
constexpr char kTerminalTypeIs = 0;
constexpr char kTerminalTypeSend = 1;
constexpr char kCharsetRequest = 1;
constexpr char kCharsetAccepted = 2;
constexpr char kCharsetRejected = 3;

// MTTS: ANSI (1), UTF-8 (4), 256 colours (8), truecolour (256).
const char* const kTerminalTypes[] = {"OLVEX", "XTERM-256COLOR", "MTTS 269"};

QByteArray subnegotiationBytes(int option, const QByteArray& payload)
{
    // Unlike TelnetParser's builder this one doubles IAC: a window 255 wide
    // must not end the sub-negotiation early.
    QByteArray escaped = payload;
    escaped.replace("\xFF", "\xFF\xFF");
    return TelnetParser::buildSubnegotiation(option, escaped);
}

QString decodeUtf8(const QString& latin1)
{
    const QByteArray bytes = latin1.toLatin1();
    Utf8Decoder decoder;
    QString text;
    decoder.decode(bytes.constData(), bytes.size(), text);
    decoder.flush(text);
    return text;
}

} // namespace

StandardTelnetParser::StandardTelnetParser()
{
    using Side = TelnetOptions::Side;
    for (int option :
         {TelnetParser::kOptionTerminalType, TelnetParser::kOptionNaws, kOptionCharset, kOptionSga})
        options.setSupported(option, Side::Local);
    for (int option :
         {kOptionSga, kOptionEor, kOptionEcho, int(TelnetParser::kOptionMsdp), kOptionMccp2, kOptionCharset})
        options.setSupported(option, Side::Remote);
    options.onSend = [this](const QByteArray& bytes) {
        send(bytes);
    };
    options.onChanged = [this](int option, Side side, bool enabled) {
        onOptionChanged(option, side, enabled);
    };
    // MSDP names and values are UTF-8 as well.
    msdp.onMsdpVariable = [this](const QString& pair) {
        onMsdpVariable(decodeUtf8(pair));
    };
}

void StandardTelnetParser::reset()
{
    options.reset();
    decoder = Utf8Decoder();
    inflater.stop();
    state = State::Data;
    subnegotiation.clear();
    text.clear();
    carriageReturn = false;
    failed = false;
    terminalTypeAnswers = 0;
    compressionStarts = false;
    options.request(TelnetParser::kOptionTerminalType, TelnetOptions::Side::Local);
    options.request(TelnetParser::kOptionNaws, TelnetOptions::Side::Local);
}

void StandardTelnetParser::parse(const QByteArray& data)
{
    if (failed)
        return;
    if (inflater.isActive())
        inflater.addInput(data.constData(), data.size());
    else
        parsePlain(data.constData(), data.size());
    pump();
    flushText();
}

void StandardTelnetParser::resume()
{
    if (failed)
        return;
    pump();
    flushText();
}

void StandardTelnetParser::pump()
{
    qsizetype budget = kInflateBudget;
    while (!failed && inflater.isActive() && budget > 0) {
        const QByteArray out = inflater.inflate(budget);
        budget -= out.size();
        inflatedOutput = true;
        parsePlain(out.constData(), out.size());
        inflatedOutput = false;
        if (inflater.hasFailed()) {
            fail(QStringLiteral("The server's compressed data is corrupt (%1); the connection was closed.")
                     .arg(inflater.errorString()));
            return;
        }
        if (!inflater.isActive()) {
            // The compressed stream ended; what follows it is plain again
            // and may even start a new one.
            const QByteArray rest = inflater.takeTrailingInput();
            parsePlain(rest.constData(), rest.size());
        } else if (out.isEmpty()) {
            return; // waiting for more input
        }
    }
}

void StandardTelnetParser::parsePlain(const char* data, qsizetype size)
{
    qsizetype i = 0;
    while (i < size && !failed) {
        if (state == State::Data) {
            qsizetype run = i;
            while (run < size && uchar(data[run]) != kIac && data[run] != '\r' && data[run] != '\0')
                ++run;
            if (run > i) {
                appendText(data + i, run - i);
                i = run;
                continue;
            }
        }
        if (state == State::SubnegotiationData) {
            qsizetype run = i;
            while (run < size && uchar(data[run]) != kIac)
                ++run;
            const qsizetype room = TelnetParser::kSubnegotiationCap - subnegotiation.size();
            subnegotiation.append(data + i, qBound<qsizetype>(0, run - i, room));
            i = run;
            if (i == size)
                break;
        }
        if (handleByte(uchar(data[i++]))) {
            // The sub-negotiation just ended started compression: the rest
            // of this input is compressed.
            startCompression(data + i, size - i);
            return;
        }
    }
}

bool StandardTelnetParser::handleByte(uchar b)
{
    switch (state) {
    case State::Data:
        if (b == kIac) {
            state = State::Iac;
        } else if (b == '\r') {
            if (carriageReturn)
                appendCarriageReturn();
            carriageReturn = true;
        } else if (carriageReturn) { // CR NUL is a carriage return on its own
            carriageReturn = false;
            appendCarriageReturn();
        }
        break;
    case State::Iac:
        handleIac(b);
        break;
    case State::Verb:
        state = State::Data;
        options.receive(verb, b);
        break;
    case State::Subnegotiation:
        subOption = b;
        subnegotiation.clear();
        state = State::SubnegotiationData;
        break;
    case State::SubnegotiationData:
        state = State::SubnegotiationIac;
        break;
    case State::SubnegotiationIac:
        if (b == TelnetParser::kSe) {
            state = State::Data;
            handleSubnegotiation();
            return compressionStarts;
        }
        // IAC IAC is one 255; anything else after IAC is kept as is.
        if (subnegotiation.size() < TelnetParser::kSubnegotiationCap)
            subnegotiation.append(char(b));
        state = State::SubnegotiationData;
        break;
    }
    return false;
}

void StandardTelnetParser::handleIac(uchar command)
{
    state = State::Data;
    if (command != kIac)
        flushText(); // whatever the command causes comes after the text before it
    switch (command) {
    case kIac:
        appendText("\xFF", 1); // an escaped data byte
        break;
    case TelnetParser::kWill:
    case TelnetParser::kWont:
    case TelnetParser::kDo:
    case TelnetParser::kDont:
        verb = command;
        state = State::Verb;
        break;
    case TelnetParser::kSb:
        state = State::Subnegotiation;
        break;
    case kGa:
    case kEor:
        flushText();
        if (onPromptEnd)
            onPromptEnd();
        break;
    default: // NOP, a stray SE and the rest mean nothing to a client
        break;
    }
}

void StandardTelnetParser::handleSubnegotiation()
{
    using Side = TelnetOptions::Side;
    switch (subOption) {
    case TelnetParser::kOptionTerminalType:
        if (subnegotiation == QByteArray(1, kTerminalTypeSend) && options.isEnabled(subOption, Side::Local))
            answerTerminalType();
        break;
    case kOptionCharset:
        if (subnegotiation.startsWith(kCharsetRequest) &&
            (options.isEnabled(subOption, Side::Local) || options.isEnabled(subOption, Side::Remote)))
            answerCharset();
        break;
    case TelnetParser::kOptionMsdp:
        flushText();
        msdp.processMsdp(subnegotiation);
        break;
    case kOptionMccp2:
        compressionStarts = options.isEnabled(subOption, Side::Remote) && !inflatedOutput;
        break;
    default:
        break;
    }
    subnegotiation.clear();
}

void StandardTelnetParser::answerTerminalType()
{
    if (!options.takeAnswer(TelnetParser::kOptionTerminalType))
        return;
    // The MTTS cycle: a name, the terminal it behaves like, then its
    // capabilities, repeated so the server knows it has seen them all.
    const int last = int(std::size(kTerminalTypes)) - 1;
    const char* name = kTerminalTypes[qMin(terminalTypeAnswers++, last)];
    send(subnegotiationBytes(TelnetParser::kOptionTerminalType, kTerminalTypeIs + QByteArray(name)));
}

void StandardTelnetParser::answerCharset()
{
    if (!options.takeAnswer(kOptionCharset))
        return;
    QByteArray request = subnegotiation.mid(1);
    if (request.startsWith("[TTABLE]"))
        request = request.mid(9); // a translation table version we do not use
    bool utf8 = false;
    if (!request.isEmpty()) {
        const char separator = request.front();
        for (const QByteArray& name : request.mid(1).split(separator))
            utf8 = utf8 || name.compare("UTF-8", Qt::CaseInsensitive) == 0 ||
                   name.compare("UTF8", Qt::CaseInsensitive) == 0;
    }
    send(subnegotiationBytes(kOptionCharset, utf8 ? kCharsetAccepted + QByteArray("UTF-8")
                                                  : QByteArray(1, kCharsetRejected)));
}

void StandardTelnetParser::startCompression(const char* rest, qsizetype size)
{
    compressionStarts = false;
    inflater.start();
    if (inflater.hasFailed()) {
        fail(inflater.errorString());
        return;
    }
    inflater.addInput(rest, size);
}

void StandardTelnetParser::onOptionChanged(int option, TelnetOptions::Side side, bool enabled)
{
    if (option == TelnetParser::kOptionNaws && side == TelnetOptions::Side::Local && enabled) {
        sendWindowSize();
    } else if (option == kOptionEcho && side == TelnetOptions::Side::Remote) {
        flushText();
        if (onServerEcho)
            onServerEcho(enabled);
    }
}

void StandardTelnetParser::setWindowSize(int newColumns, int newRows)
{
    newColumns = qBound(0, newColumns, 0xFFFF);
    newRows = qBound(0, newRows, 0xFFFF);
    if (newColumns == columns && newRows == rows)
        return;
    columns = newColumns;
    rows = newRows;
    if (options.isEnabled(TelnetParser::kOptionNaws, TelnetOptions::Side::Local))
        sendWindowSize();
}

void StandardTelnetParser::sendWindowSize()
{
    const char size[] = {char(columns >> 8), char(columns), char(rows >> 8), char(rows)};
    send(subnegotiationBytes(TelnetParser::kOptionNaws, QByteArray(size, sizeof size)));
}

void StandardTelnetParser::send(const QByteArray& bytes)
{
    if (!bytes.isEmpty() && onSend)
        onSend(bytes);
}

void StandardTelnetParser::appendText(const char* data, qsizetype size)
{
    if (carriageReturn) {
        // CR LF ends a line as a line feed alone does; any other CR stays.
        carriageReturn = false;
        if (data[0] != '\n')
            appendCarriageReturn();
    }
    decoder.decode(data, size, text);
}

void StandardTelnetParser::appendCarriageReturn()
{
    decoder.flush(text); // a control character ends any unfinished UTF-8 sequence
    text += u'\r';
}

void StandardTelnetParser::flushText()
{
    if (!text.isEmpty() && onText)
        onText(std::exchange(text, QString()));
}

void StandardTelnetParser::fail(const QString& message)
{
    failed = true;
    state = State::Data;
    flushText();
    if (onError)
        onError(message);
}
