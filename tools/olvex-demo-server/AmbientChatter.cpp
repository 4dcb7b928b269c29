#include "tools/olvex-demo-server/AmbientChatter.h"

#include <QList>
#include <QRandomGenerator>

#include "tools/olvex-demo-server/Ansi.h"

namespace {

// One rotation entry: a prefix in the channel's colours and the texts that
// may follow it. Lines the client sorts as emotes must start with "* name",
// so their colour only starts after the name.
struct Kind {
    QByteArray prefix;
    QList<QByteArray> texts;
};

const QList<Kind>& kinds()
{
    using namespace Ansi;
    static const QList<Kind> table{
        {QByteArray(kBoldMagenta) + "[OOC]" + kReset + " Kyren: ",
         {"anyone up for a group run to the caverns?", "brb, dinner",
          "how do you unlock the blast technique again?", "gg everyone, that raid was wild"}},
        {QByteArray(kBoldCyan) + "[CHAT]" + kReset + " Tomo: ",
         {"selling weighted boots, 40 zeni", "the Golem hits way harder since the patch",
          "who's hosting the tournament tonight?", "lfg training grounds"}},
        // Tells arrive plain, as on many games, so a client's highlight shows on them.
        {QByteArray("Zara tells you: "),
         {"hey, want to spar later?", "check the market, the pickpocket is back", "nice combo earlier!",
          "meet me at the plaza"}},
        {QByteArray("* Zara ") + fg256(141),
         {"waves at you.", "stretches and cracks her knuckles.", "grins mischievously.", "bows politely."}},
        {QByteArray(kBoldYellow) + "[QUEST]" + kReset + " ",
         {"Master Onji seeks a student brave enough to face the Golem.",
          "The bandits of the Red Wastes have stolen the town's sunstone shard."}},
        {QByteArray(kYellow) + "Quest: " + kReset,
         {"Defeat 3 bandits (1/3 complete).", "Deliver the ledger to the Merchant."}},
        {QByteArray(kBold) + rgb(255, 107, 0) + "[ANNOUNCE]" + kReset + " ",
         {"Double experience weekend starts in 10 minutes!",
          "The autumn tournament opens registrations tonight."}},
        {QByteArray(kBoldRed) + "(broadcast)" + kReset + " ",
         {"Server maintenance in 2 hours. Save your progress.",
          "A meteor has been sighted over the Red Wastes!"}},
        {QByteArray(kBrightBlack),
         {"Connection from 10.0.3.17 (Kyren) established.", "You have 2 unread messages on the town board.",
          "You have been awarded a daily login bonus."}},
    };
    return table;
}

} // namespace

int AmbientChatter::kindCount()
{
    return int(kinds().size());
}

QByteArray AmbientChatter::next(QRandomGenerator& random)
{
    const Kind& kind = kinds().at(nextKind);
    nextKind = (nextKind + 1) % kindCount();
    return kind.prefix + kind.texts.at(random.bounded(int(kind.texts.size()))) + Ansi::kReset;
}
