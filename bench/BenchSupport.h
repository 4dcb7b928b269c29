#pragma once

// Pieces shared by the whole-client benchmarks: an isolated data directory,
// the application set up the way the client's main() does it, the game text
// and idle triggers every run uses, and the figures they report.

#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QRegularExpression>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "app/Startup.h"
#include "storage/Scripts.h"

namespace bench {

inline QByteArray& isolatedDataPath()
{
    static QByteArray path;
    return path;
}

// Points the generic data location at a fresh directory so a run never reads
// or writes the player's settings. Call first thing in main(): Storage saves
// once more from its static destructor, and the removal registered here runs
// after that because it was registered before Storage existed.
inline void isolateDataDirectory()
{
    QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/olvex-bench-XXXXXX";
    if (!mkdtemp(pattern.data())) {
        std::perror("mkdtemp");
        std::exit(2);
    }
    isolatedDataPath() = pattern;
    qputenv("XDG_DATA_HOME", pattern);
    qputenv("XDG_CONFIG_HOME", pattern + "/config");
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        // Qt wants a private runtime directory and complains without one.
        const QByteArray runtime = pattern + "/runtime";
        QDir().mkpath(QString::fromLocal8Bit(runtime));
        QFile::setPermissions(QString::fromLocal8Bit(runtime),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime);
    }
    std::atexit([] { QDir(QString::fromLocal8Bit(isolatedDataPath())).removeRecursively(); });
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

// What app/main.cpp does between creating the application and the window.
inline void setUpLikeTheClient(QApplication& app)
{
    Startup::prepareApplication(app);
}

// One line of busy game text, about 100 bytes with four to eight colour
// changes, in the mix a fight in a crowded room produces.
inline QByteArray colouredLine(qint64 index)
{
    static const char* const kFoes[] = {"Bandit", "Dustwolf", "Golem", "Sparbot", "Hawk", "Guard"};
    static const char* const kFriends[] = {"Zara", "Kyren", "Tomo", "Rell", "Mika"};
    const QByteArray n = QByteArray::number(index);
    const QByteArray foe = kFoes[index % 6];
    const QByteArray friendName = kFriends[index % 5];
    const QByteArray damage = QByteArray::number(40 + index % 160);
    switch (index % 6) {
    case 0:
        return "\x1b[1;32mYou hit the " + foe + " with a spinning kick!\x1b[0m\x1b[90m [" + damage +
               "]\x1b[0m \x1b[38;5;214mCOMBO x" + QByteArray::number(1 + index % 7) + "\x1b[0m";
    case 1:
        return "\x1b[1;31mThe " + foe + " strikes at you with a crushing blow!\x1b[0m\x1b[90m [" + damage +
               "] \x1b[0m\x1b[33mYou stagger back.\x1b[0m";
    case 2:
        return "\x1b[1;35m[OOC]\x1b[0m " + friendName + ": anyone up for a group run to the caverns? msg " +
               n + "\x1b[0m";
    case 3:
        return "\x1b[35m" + friendName + " tells you: \x1b[0mmeet me at the plaza after the fight, bring #" +
               n;
    case 4:
        return "\x1b[32mTrampled grass and cratered earth mark where students spar, \x1b[38;5;244mstep " + n +
               ".\x1b[0m";
    default:
        return "\x1b[1m\x1b[38;2;255;107;0m[ANNOUNCE]\x1b[0m Double experience weekend starts soon, round " +
               n + '!';
    }
}

// Triggers a player keeps that see every line and fire on none of the bench
// text: half regular expressions with captures, anchored or not, half plain
// phrases searched anywhere in the line, each naming a creature the text never
// mentions. bench/peer/tintin_flood.sh gives TinTin++ the same hundred as
// actions; keep the two lists in step.
inline QList<Trigger> idleTriggers(int count)
{
    static const char* const kCreatures[] = {"dragon",   "lich",    "wyvern", "basilisk", "hydra",
                                             "minotaur", "banshee", "wraith", "chimera",  "cyclops"};
    static const char* const kPlain[] = {"The %1 flees in terror", "You feel the %1 watching you",
                                         "A %1 roars", "The %1 is DEAD", "You smell a %1"};
    static const char* const kRegex[] = {
        "^The %1 (\\w+) you (\\d+) times", "^(\\w+) tells you: the %1 is at (\\w+)$",
        "You receive (\\d+) gold from the %1", "^(\\w+) gossips: (.*) %1 (.*)$",
        "^A %1 arrives from the (\\w+)\\.$"};
    QList<Trigger> triggers;
    for (int i = 0; triggers.size() < count; ++i) {
        const QLatin1String creature(kCreatures[(i / 5) % 10]);
        const QString suffix = i < 50 ? QString() : QString::number(i / 50);
        Trigger regex;
        regex.name = QStringLiteral("regex%1").arg(i + 1);
        regex.pattern = QString::fromLatin1(kRegex[i % 5]).arg(creature + suffix);
        regex.regex = true;
        regex.commands = QStringLiteral("#var last $1");
        triggers.append(regex);
        if (triggers.size() == count)
            break;
        Trigger plain;
        plain.name = QStringLiteral("plain%1").arg(i + 1);
        plain.pattern = QString::fromLatin1(kPlain[i % 5]).arg(creature + suffix);
        plain.commands = QStringLiteral("#var seen %1").arg(creature);
        triggers.append(plain);
    }
    return triggers;
}

inline Trigger answerTrigger(const QString& pattern, bool regex, const QString& commands)
{
    Trigger trigger;
    trigger.name = QStringLiteral("bench-answer");
    trigger.pattern = pattern;
    trigger.regex = regex;
    trigger.commands = commands;
    return trigger;
}

// A field of /proc/self/status in kB (VmHWM: the peak resident set).
inline long statusKilobytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QRegularExpression pattern(QStringLiteral("^%1:\\s+(\\d+) kB").arg(QLatin1String(field)),
                                     QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(status.readAll()));
    return match.hasMatch() ? match.captured(1).toLong() : -1;
}

inline double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace bench
