#include "tools/olvex-demo-server/PlayerState.h"

#include <algorithm>

#include "tools/olvex-demo-server/Ansi.h"

namespace {

int raise(int current, int amount, int max)
{
    return std::min(max, current + std::max(1, amount));
}

QByteArray pair(int current, int max)
{
    return QByteArray::number(current) + '/' + QByteArray::number(max);
}

} // namespace

QList<QByteArray> PlayerState::regenerate()
{
    const bool wasRested = isRested();
    if (resting) {
        powerLevel = raise(powerLevel, powerLevelMax / 25, powerLevelMax);
        ki = raise(ki, kiMax / 8, kiMax);
        fatigue = raise(fatigue, fatigueMax / 8, fatigueMax);
    } else {
        powerLevel = raise(powerLevel, powerLevelMax / 100, powerLevelMax);
        ki = raise(ki, 2, kiMax);
        fatigue = raise(fatigue, 2, fatigueMax);
    }
    if (resting && isRested() && !wasRested) {
        resting = false;
        return {QByteArray(Ansi::kGreen) + "You feel completely rested and stand up." + Ansi::kReset};
    }
    return {};
}

QList<QByteArray> PlayerState::gainExperience(int amount)
{
    QList<QByteArray> lines{QByteArray(Ansi::kBoldYellow) + "You gain " + QByteArray::number(amount) +
                            " experience points." + Ansi::kReset};
    experience += amount;
    while (experience >= experienceForNextLevel()) {
        experience -= experienceForNextLevel();
        ++level;
        powerLevelMax += 500;
        kiMax += 10;
        fatigueMax += 5;
        resistancePhysical += 1;
        resistanceMagical += 1;
        magicPower += 3;
        lines << QByteArray(Ansi::kBoldMagenta) + "You gain a level! You are now level " +
                     QByteArray::number(level) + ". Time to level up your training!" + Ansi::kReset;
    }
    return lines;
}

QString PlayerState::affects(bool fighting) const
{
    QStringList list{QStringLiteral("sanctuary"), QStringLiteral("haste"), QStringLiteral("bless")};
    if (resting)
        list << QStringLiteral("meditation");
    if (fighting)
        list << QStringLiteral("battle_focus");
    return list.join(QLatin1Char(':'));
}

QList<QByteArray> PlayerState::scoreSheet() const
{
    using namespace Ansi;
    const QByteArray label = fg256(110);
    return {
        QByteArray(kBold) + rgb(255, 140, 0) + "=== " + name.toUtf8() + " ===" + kReset,
        label + "Race: " + kReset + race.toUtf8() + label + "   Class: " + kReset + characterClass.toUtf8() +
            label + "   Level: " + kReset + QByteArray::number(level),
        label + "Power level: " + kReset + kGreen + pair(powerLevel, powerLevelMax) + kReset + label +
            "   Ki: " + kReset + kCyan + pair(ki, kiMax) + kReset + label + "   Fatigue: " + kReset +
            kYellow + pair(fatigue, fatigueMax) + kReset,
        label + "Resistances: " + kReset + "physical " + QByteArray::number(resistancePhysical) +
            ", magical " + QByteArray::number(resistanceMagical) + label + "   Magic power: " + kReset +
            QByteArray::number(magicPower),
        "You have " + QByteArray::number(experience) + " experience points; " +
            QByteArray::number(experienceForNextLevel() - experience) + " more to reach the next level.",
        label + "Affects: " + kReset + affects(false).toUtf8(),
    };
}

QByteArray PlayerState::prompt(const QString& opponentStatus) const
{
    using namespace Ansi;
    QByteArray line = QByteArray("> ") + kGreen + "PL " + pair(powerLevel, powerLevelMax) + kReset + ' ' +
                      kCyan + "Ki " + pair(ki, kiMax) + kReset + ' ' + kYellow + "Fat " +
                      pair(fatigue, fatigueMax) + kReset;
    if (!opponentStatus.isEmpty())
        line += QByteArray(" ") + kRed + '[' + opponentStatus.toUtf8() + ']' + kReset;
    return line + " >";
}
