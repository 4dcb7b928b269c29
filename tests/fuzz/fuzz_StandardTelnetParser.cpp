// Feeds arbitrary server bytes to the standard telnet parser twice, whole and
// cut into pieces whose lengths come from the input itself, and aborts if the
// two runs disagree on the text, the events or the bytes answered. Along the
// way it checks that one call never hands out more text than its inflate
// budget plus the input.

#include <QStringList>

#include <cstdint>
#include <cstdlib>

#include "net/StandardTelnetParser.h"

namespace {

struct Run {
    StandardTelnetParser parser;
    QString text;
    QStringList events;
    qsizetype callText = 0;
    qsizetype limit = 0;

    Run()
    {
        parser.onText = [this](const QString& piece) {
            text += piece;
            callText += piece.size();
        };
        parser.onMsdpVariable = [this](const QString& pair) {
            events << "msdp:" + pair;
        };
        parser.onPromptEnd = [this] {
            events << "prompt@" + QString::number(text.size());
        };
        parser.onServerEcho = [this](bool on) {
            events << QString("echo:%1").arg(on);
        };
        parser.onSend = [this](const QByteArray& bytes) {
            events << "send:" + QString::fromLatin1(bytes.toHex());
        };
        parser.onError = [this](const QString&) {
            events << "error";
        };
        parser.reset();
    }
    void feed(const QByteArray& bytes)
    {
        callText = 0;
        parser.parse(bytes);
        check();
        while (parser.hasPendingInput()) {
            callText = 0;
            parser.resume();
            check();
        }
    }
    // Inflated text is bounded by the budget; plain text (some of it left
    // over from an earlier call after a compressed stream ends) by the input.
    void check() const
    {
        if (callText > StandardTelnetParser::kInflateBudget + limit)
            std::abort();
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    Run whole;
    whole.limit = bytes.size() + 4;
    whole.feed(bytes);

    Run pieces;
    pieces.limit = whole.limit;
    qsizetype position = 0;
    for (size_t i = 0; position < bytes.size(); ++i) {
        const qsizetype length = 1 + data[i % size] % 9;
        pieces.feed(bytes.mid(position, length));
        position += length;
    }
    if (whole.text != pieces.text || whole.events != pieces.events)
        std::abort();
    return 0;
}
