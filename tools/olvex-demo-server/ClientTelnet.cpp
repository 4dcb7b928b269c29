#include "tools/olvex-demo-server/ClientTelnet.h"

#include <zlib.h>

#include "tools/olvex-demo-server/Ansi.h"
#include "tools/olvex-demo-server/MsdpReporter.h"

namespace {

constexpr uchar kIac = 255, kDo = 253, kWill = 251, kSb = 250, kGa = 249, kSe = 240, kEor = 239;
constexpr uchar kTtype = 24, kEorOption = 25, kNaws = 31, kCharset = 42, kMsdp = 69, kMccp2 = 86;
constexpr char kTtypeIs = 0, kTtypeSend = 1, kCharsetRequest = 1;
// Enough for a client to walk its MTTS cycle: name, terminal, capabilities.
constexpr int kMaxTerminalTypeRequests = 3;

QByteArray bytes(std::initializer_list<uchar> list)
{
    QByteArray out;
    for (uchar b : list)
        out += char(b);
    return out;
}

QByteArray subnegotiation(uchar option, const QByteArray& payload)
{
    return bytes({kIac, kSb, option}) + payload + bytes({kIac, kSe});
}

} // namespace

ClientTelnet::ClientTelnet() = default;

ClientTelnet::~ClientTelnet()
{
    if (compressing)
        deflateEnd(deflater.get());
}

QByteArray ClientTelnet::greeting()
{
    return QByteArray(Ansi::kBlack) + MsdpReporter::announcement() +
           bytes({kIac, kWill, kEorOption, kIac, kWill, kCharset, kIac, kWill, kMccp2, kIac, kDo, kTtype,
                  kIac, kDo, kNaws}) +
           Ansi::kReset + '\n';
}

QByteArray ClientTelnet::receiveNegotiation(int verb, int option)
{
    // Every option here is one we offered: a DO or WILL agrees, and needs no
    // answer. Anything else is left unanswered, which a client takes as no.
    QByteArray answer;
    if (verb == kWill && option == kTtype) {
        // The Olvex client offers this on connect whether it negotiates or
        // not; only a client that answers our offers is asked for it.
        clientOffersTerminalType = true;
    } else if (verb == kDo &&
               (option == kEorOption || option == kCharset || option == kMccp2 || option == kMsdp)) {
        negotiating = true;
        endOfRecord = endOfRecord || option == kEorOption;
        if (option == kMccp2 && !compressing)
            answer += startCompression();
        if (option == kCharset && !charsetAsked) {
            charsetAsked = true;
            answer += encode(subnegotiation(kCharset, kCharsetRequest + QByteArray(";UTF-8")));
        }
    }
    if (negotiating && clientOffersTerminalType && terminalTypeRequests == 0) {
        ++terminalTypeRequests;
        answer += encode(subnegotiation(kTtype, QByteArray(1, kTtypeSend)));
    }
    return answer;
}

QByteArray ClientTelnet::receiveSubnegotiation(int option, const QByteArray& payload)
{
    if (option == kTtype && payload.startsWith(kTtypeIs)) {
        const QString type = QString::fromLatin1(payload.mid(1, 64));
        const bool repeated = type == clientTerminalType;
        if (clientTerminalType.isEmpty())
            clientTerminalType = type; // the first answer names the client
        if (!repeated && terminalTypeRequests < kMaxTerminalTypeRequests) {
            ++terminalTypeRequests;
            return encode(subnegotiation(kTtype, QByteArray(1, kTtypeSend)));
        }
    } else if (option == kNaws && payload.size() >= 4) {
        windowColumns = (uchar(payload[0]) << 8) | uchar(payload[1]);
    }
    return {};
}

QByteArray ClientTelnet::startCompression()
{
    deflater = std::make_unique<z_stream_s>();
    *deflater = z_stream_s{};
    if (deflateInit(deflater.get(), Z_DEFAULT_COMPRESSION) != Z_OK)
        return {};
    compressing = true;
    // The marker itself goes out plain; everything after it is compressed.
    return subnegotiation(kMccp2, {});
}

QByteArray ClientTelnet::encode(const QByteArray& plain)
{
    if (!compressing || plain.isEmpty())
        return plain;
    QByteArray out(int(deflateBound(deflater.get(), uLong(plain.size()))) + 16, '\0');
    deflater->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.constData()));
    deflater->avail_in = uInt(plain.size());
    deflater->next_out = reinterpret_cast<Bytef*>(out.data());
    deflater->avail_out = uInt(out.size());
    // A sync flush per write: the client can show each line as it comes.
    deflate(deflater.get(), Z_SYNC_FLUSH);
    out.resize(out.size() - deflater->avail_out);
    return out;
}

QByteArray ClientTelnet::promptEnd() const
{
    if (endOfRecord)
        return bytes({kIac, kEor});
    return negotiating ? bytes({kIac, kGa}) : QByteArray("\n");
}
