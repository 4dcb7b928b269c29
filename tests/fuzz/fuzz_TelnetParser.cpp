// Feeds arbitrary server bytes to the telnet parser twice, whole and cut into
// pieces whose lengths come from the input itself, and aborts if the two runs
// disagree: a split anywhere in the stream must never change what the player
// sees. Along the way it checks that text always arrives one character at a
// time and that the sub-negotiation buffer stays under its cap.

#include <QStringList>

#include <cstdint>
#include <cstdlib>

#include "net/TelnetParser.h"

namespace {

struct Run {
    TelnetParser parser;
    QStringList events;

    Run()
    {
        parser.onText = [this](const QString& c) {
            if (c.size() != 1)
                std::abort();
            events << c;
        };
        parser.onMsdpVariable = [this](const QString& pair) {
            if (!pair.contains(QLatin1Char('=')))
                std::abort();
            events << QStringLiteral("msdp:") + pair;
        };
        parser.onError = [](const QString&) {
            std::abort();
        };
        parser.onWill = [this](int option) {
            events << QStringLiteral("will:%1").arg(option);
        };
        parser.onDo = [this](int option) {
            events << QStringLiteral("do:%1").arg(option);
        };
    }

    void check() const
    {
        if (parser.subnegotiationBuffer.size() > TelnetParser::kSubnegotiationCap)
            std::abort();
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));

    Run whole;
    whole.parser.parse(bytes);
    whole.check();

    Run pieces;
    qsizetype position = 0;
    for (size_t i = 0; position < bytes.size(); ++i) {
        const qsizetype length = 1 + data[i % size] % 9;
        pieces.parser.parse(bytes.mid(position, length));
        pieces.check();
        position += length;
    }

    if (whole.events != pieces.events || whole.parser.state != pieces.parser.state ||
        whole.parser.currentOption != pieces.parser.currentOption ||
        whole.parser.subnegotiationBuffer != pieces.parser.subnegotiationBuffer)
        std::abort();

    // The flattening must cope with any payload on its own, not only with
    // what the byte loop hands it.
    whole.parser.processMsdp(bytes);
    return 0;
}
