#pragma once

#include <QList>
#include <QString>

// Per-character switches for parts of the game screen. The numbers are stored
// in settings.json, so they never change meaning.
enum class GameFeature : qint32 {
    VitalsBars = 0,
    ComboCounter = 1,  // combo label shown only while a combo is running
    OpponentPanel = 2, // opponent panel shown when a fight starts
    CharacterStats = 3,
    AffectsList = 4,
    AutoLogin = 5,
    RoomPanel = 6,
    OutputTimestamps = 7,
    ChannelTabs = 8,
    MsdpTracking = 9,
    TriggerHighlights = 10,
    // Behaviour that replaces the default, for servers other than the home
    // game: off unless the player switches it on for a character.
    StandardTelnet = 11,     // UTF-8 text, answered telnet options, prompts, echo, MCCP2
    ClientConveniences = 12, // echo, typed ";" and "#", stripped trigger text, more
};

namespace GameFeatures {

// Hosts of the game this client grew up with get its panels switched on by
// default; any other host starts with none.
inline const QString kHomeDomain = QStringLiteral("olvex.example");

inline QList<int> homeDefaults()
{
    return {0, 1, 2, 6, 3, 4, 8, 9, 10};
}

// True for a home-game character that has no features stored yet: it gets
// homeDefaults() instead of the empty list.
inline bool usesHomeDefaults(const QList<int>& stored, const QString& host)
{
    return stored.isEmpty() && host.toLower().contains(kHomeDomain);
}

} // namespace GameFeatures
