#include "tools/olvex-demo-server/FloodText.h"

#include "tools/olvex-demo-server/Ansi.h"

namespace {

const char* const kNames[] = {"Bandit", "Dustwolf", "Golem", "Sparbot", "Hawk", "Guard"};
const char* const kFriends[] = {"Zara", "Kyren", "Tomo", "Rell", "Mika"};

} // namespace

QByteArray FloodText::line(qint64 index)
{
    using namespace Ansi;
    const QByteArray n = QByteArray::number(index);
    const QByteArray npc = kNames[index % 6];
    const QByteArray friendName = kFriends[index % 5];
    const QByteArray damage = QByteArray::number(40 + index % 160);
    switch (index % 8) {
    case 0:
        return QByteArray(kGreen) + "Trampled grass and cratered earth mark where students spar, " +
               fg256(244) + "step " + n + '.' + kReset;
    case 1:
        return QByteArray(kBoldGreen) + "You hit the " + npc + " with a spinning kick!" + kReset +
               kBrightBlack + " [" + damage + ']' + kReset + ' ' + fg256(214) + "COMBO x" +
               QByteArray::number(1 + index % 7) + kReset;
    case 2:
        return QByteArray(kBoldRed) + "The " + npc + " strikes at you with a crushing blow!" + kReset +
               kBrightBlack + " [" + damage + "] " + kReset + kYellow + "You stagger back." + kReset;
    case 3:
        return QByteArray(kBoldMagenta) + "[OOC]" + kReset + ' ' + friendName +
               ": anyone up for a group run to the caverns? msg " + n + kReset;
    case 4:
        return QByteArray(kMagenta) + friendName + " tells you: " + kReset +
               "meet me at the plaza after the fight, bring capsules #" + n;
    case 5:
        return QByteArray("* ") + friendName + ' ' + fg256(141) +
               "cracks her knuckles and grins at the crowd gathering around." + kReset;
    case 6:
        return QByteArray(kYellow) + "Stalls crowd both sides of a narrow lane: " + fg256(203) +
               "fire-red peppers" + kReset + kYellow + ", capsules." + kReset;
    default:
        return QByteArray(kBold) + rgb(255, 107, 0) + "[ANNOUNCE]" + kReset +
               " Double experience weekend starts soon, round " + n + '!';
    }
}
