#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "tools/olvex-demo-server/World.h"

class QRandomGenerator;
struct PlayerState;

// One fight between a player and an NPC, played out a round at a time. The
// connection drives the rounds from a timer; this class only decides what
// happens in each.
class Combat final {
public:
    enum class Outcome { Ongoing, Won, Broken };

    struct Round {
        QList<QByteArray> lines;
        Outcome outcome = Outcome::Ongoing;
    };

    explicit Combat(Npc opponent);

    Round playRound(PlayerState& player, QRandomGenerator& random);

    QString opponentName() const { return opponent.name; }
    int opponentHealth() const { return health; }
    int opponentHealthMax() const { return opponent.maxHealth; }
    int combo() const { return comboCount; }
    int experienceReward() const { return opponent.experience; }
    // "Bandit 64%": the opponent's state for the prompt.
    QString status() const;

private:
    QByteArray playerAttack(PlayerState& player, QRandomGenerator& random);
    QByteArray opponentAttack(PlayerState& player, QRandomGenerator& random);

    Npc opponent;
    int health;
    int comboCount = 0;
};
