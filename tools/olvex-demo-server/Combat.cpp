#include "tools/olvex-demo-server/Combat.h"

#include <QRandomGenerator>

#include <algorithm>
#include <iterator>

#include "tools/olvex-demo-server/Ansi.h"
#include "tools/olvex-demo-server/PlayerState.h"

namespace {

// Every third blow of an unbroken combo is a ki blast: more damage, costs ki.
constexpr int kBlastEvery = 3;
constexpr int kBlastKi = 10;
constexpr int kFatiguePerRound = 2;
// Below this share of their power level a player breaks off instead of dying:
// the demo has no death or corpse handling.
constexpr int kBreakOffPercent = 15;

const char* const kMoves[] = {"a spinning kick", "a palm strike", "an elbow smash", "a flurry of punches",
                              "a knee to the ribs"};

QByteArray damageTag(int damage)
{
    return QByteArray(Ansi::kBrightBlack) + " [" + QByteArray::number(damage) + ']' + Ansi::kReset;
}

} // namespace

Combat::Combat(Npc opponent)
    : opponent(std::move(opponent))
    , health(this->opponent.maxHealth)
{
}

QString Combat::status() const
{
    const int percent = opponent.maxHealth > 0 ? health * 100 / opponent.maxHealth : 0;
    return opponent.name + QLatin1Char(' ') + QString::number(percent) + QLatin1Char('%');
}

Combat::Round Combat::playRound(PlayerState& player, QRandomGenerator& random)
{
    Round round;
    player.fatigue = std::max(0, player.fatigue - kFatiguePerRound);
    round.lines << playerAttack(player, random);
    if (health == 0) {
        round.lines << QByteArray(Ansi::kBoldGreen) + "The " + opponent.name.toUtf8() +
                           " collapses to the ground, defeated!" + Ansi::kReset;
        comboCount = 0;
        round.outcome = Outcome::Won;
        return round;
    }
    round.lines << opponentAttack(player, random);
    if (player.powerLevel * 100 < player.powerLevelMax * kBreakOffPercent) {
        round.lines << QByteArray(Ansi::kYellow) + "Battered and gasping, you break away from the fight!" +
                           Ansi::kReset;
        comboCount = 0;
        round.outcome = Outcome::Broken;
    }
    return round;
}

QByteArray Combat::playerAttack(PlayerState& player, QRandomGenerator& random)
{
    const QByteArray target = "the " + opponent.name.toUtf8();
    // A tired fighter misses more often.
    const int hitChance = player.fatigue > player.fatigueMax / 4 ? 80 : 55;
    if (int(random.bounded(100)) >= hitChance) {
        comboCount = 0;
        return QByteArray(Ansi::kWhite) + "You swing wide and " + target + " slips past your guard." +
               Ansi::kReset;
    }
    ++comboCount;
    int damage = player.powerLevelMax / 50 + int(random.bounded(player.powerLevelMax / 40 + 1));
    QByteArray line;
    if (comboCount % kBlastEvery == 0 && player.ki >= kBlastKi) {
        player.ki -= kBlastKi;
        damage *= 2;
        line = QByteArray(Ansi::kBoldCyan) + "You hit " + target + " with a blazing ki blast!" + Ansi::kReset;
    } else {
        const char* move = kMoves[random.bounded(int(std::size(kMoves)))];
        line = QByteArray(Ansi::kBoldGreen) + "You hit " + target + " with " + move + '!' + Ansi::kReset;
    }
    health = std::max(0, health - damage);
    line += damageTag(damage);
    if (comboCount > 1)
        line +=
            QByteArray(" ") + Ansi::fg256(214) + "COMBO x" + QByteArray::number(comboCount) + Ansi::kReset;
    return line;
}

QByteArray Combat::opponentAttack(PlayerState& player, QRandomGenerator& random)
{
    const QByteArray name = opponent.name.toUtf8();
    if (random.bounded(100) < 30) {
        return QByteArray(Ansi::kCyan) + "You dodge the " + name + "'s attack with ease." + Ansi::kReset;
    }
    const int base = opponent.damage * 3 / 4 + int(random.bounded(opponent.damage / 2 + 1));
    const int damage = std::max(1, base * (100 - player.resistancePhysical) / 100);
    player.powerLevel = std::max(0, player.powerLevel - damage);
    return QByteArray(Ansi::kBoldRed) + "The " + name + " strikes at you with " + opponent.attack.toUtf8() +
           '!' + Ansi::kReset + damageTag(damage);
}
