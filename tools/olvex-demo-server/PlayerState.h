#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// One player's character: vitals, progression and position. A value type the
// connection owns; combat and commands change it and the connection reports
// the result over MSDP.
struct PlayerState {
    QString name;
    QString race = QStringLiteral("Human");
    QString characterClass = QStringLiteral("Ki Adept");
    QString roomId;
    int level = 12;
    int experience = 2300;
    int powerLevel = 4200;
    int powerLevelMax = 5000;
    int ki = 60;
    int kiMax = 100;
    int fatigue = 70;
    int fatigueMax = 100;
    int resistancePhysical = 18;
    int resistanceMagical = 12;
    int magicPower = 35;
    bool resting = false;

    // Experience that completes the current level.
    int experienceForNextLevel() const { return level * 220; }
    bool isRested() const { return powerLevel == powerLevelMax && ki == kiMax && fatigue == fatigueMax; }

    // One regeneration tick; resting recovers ki and fatigue quickly. Returns
    // the lines to show (the moment a resting player is fully recovered).
    QList<QByteArray> regenerate();
    // Adds experience and levels up as often as it fills; returns the lines.
    QList<QByteArray> gainExperience(int amount);
    // Colon-separated list for the affects panel; never empty.
    QString affects(bool fighting) const;
    // The score sheet shown by the score command.
    QList<QByteArray> scoreSheet() const;
    // "> PL 4200/5000 Ki 60/100 Fat 70/100 >": the client recognises a prompt
    // by its leading ">", so colours only start after it.
    QByteArray prompt(const QString& opponentStatus) const;
};
