#include "tools/olvex-demo-server/MsdpReporter.h"

namespace {

constexpr char kIac = char(255);
constexpr char kWill = char(251);
constexpr char kSb = char(250);
constexpr char kSe = char(240);
constexpr char kMsdp = char(69);
constexpr char kVar = char(1);
constexpr char kVal = char(2);

QByteArray wireBytes(const QString& text)
{
    QByteArray bytes = text.toUtf8();
    bytes.removeIf([](char c) { return c == kIac || (c >= 0 && c < ' '); });
    return bytes;
}

} // namespace

QByteArray MsdpReporter::announcement()
{
    const char bytes[] = {kIac, kWill, kMsdp};
    return QByteArray(bytes, sizeof bytes);
}

QByteArray MsdpReporter::encode(const MsdpVariables& variables)
{
    if (variables.isEmpty())
        return {};
    const char start[] = {kIac, kSb, kMsdp};
    QByteArray out(start, sizeof start);
    for (const auto& [name, value] : variables) {
        out += kVar;
        out += wireBytes(name);
        out += kVal;
        out += wireBytes(value);
    }
    out += kIac;
    out += kSe;
    return out;
}

QByteArray MsdpReporter::changes(const MsdpVariables& current)
{
    MsdpVariables changed;
    for (const auto& pair : current) {
        auto it = lastSent.constFind(pair.first);
        if (it != lastSent.constEnd() && *it == pair.second)
            continue;
        lastSent.insert(pair.first, pair.second);
        changed << pair;
    }
    return encode(changed);
}
