// Throughput of the per-line scripting path: triggers over game text, and the
// cost of a "lua:" call per line with and without the runaway-script guard.
//
// Reproduce (Release build):
//   cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release
//   cmake --build build-release --target bench_script
//   build-release/bench_script

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <time.h>

#include "lua/LuaEngine.h"
#include "script/ScriptEngine.h"

namespace {

constexpr int kRuns = 7;
constexpr int kCorpusLines = 20000;

const char* const kReproduce =
    "cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release && "
    "cmake --build build-release --target bench_script && build-release/bench_script";

// Monsters the corpus talks about; triggers name other ones, so none match.
const QStringList kCorpusMonsters = {"orc",    "goblin", "rat",   "troll", "wolf",
                                     "bandit", "spider", "ghoul", "imp",   "kobold"};
const QStringList kTriggerMonsters = {
    "dragon",  "lich",    "wyvern",  "basilisk", "hydra",  "minotaur",  "golem", "banshee", "wraith",
    "chimera", "cyclops", "gorgon",  "harpy",    "kraken", "manticore", "naga",  "ogre",    "phoenix",
    "roc",     "sphinx",  "vampire", "werewolf", "yeti",   "zombie",    "djinn"};

QStringList makeCorpus()
{
    QRandomGenerator random(42);
    const QStringList templates = {
        "You hit the %1 for %2 damage.",
        "The %1 misses you.",
        "The %1 hits you for %2 damage!",
        "[CHAT] Bob: anyone seen a %1 near the gate? %2 zeni for it",
        "Alice tells you: meet me at the %1 den in %2 minutes",
        "A %1 wanders in from the north.",
        "Obvious exits: north, east, south, down.",
        "You receive %2 experience points.",
        "HP: %2/500 KI: %2/300 FAT: %2%",
        "The Temple of the Ancients. Cold light falls through the broken roof onto a %1.",
        "You are carrying %2 items, weight %2.",
        "* Carol waves at the %1",
    };
    QStringList corpus;
    corpus.reserve(kCorpusLines);
    for (int i = 0; i < kCorpusLines; ++i) {
        QString line = templates.at(random.bounded(templates.size()));
        line.replace(QStringLiteral("%1"), kCorpusMonsters.at(random.bounded(kCorpusMonsters.size())));
        line.replace(QStringLiteral("%2"), QString::number(random.bounded(1, 1000)));
        corpus << line;
    }
    return corpus;
}

// count triggers, alternating plain and regex, none matching the corpus.
QList<Trigger> makeTriggers(int count)
{
    const QStringList plainTemplates = {"The %1 flees in terror", "You feel the %1 watching", "A %1 roars",
                                        "The %1 is DEAD", "You smell a %1"};
    const QStringList regexTemplates = {
        "^The %1 (?:hits|misses) you (\\d+) times?", "^(\\w+) tells you: the %1 is at (\\w+)$",
        "You receive (\\d+) gold from the %1", "\\[(\\w+)\\] (\\w+): %1 (.*)$",
        "^A %1 arrives from the (north|south|east|west)\\.$"};
    QList<Trigger> triggers;
    for (int i = 0; i < count; ++i) {
        const QString monster = kTriggerMonsters.at(i % kTriggerMonsters.size()) +
                                (i >= kTriggerMonsters.size() ? QString::number(i) : QString());
        Trigger trigger;
        trigger.name = QStringLiteral("t%1").arg(i);
        trigger.regex = i % 2 == 1;
        const QStringList& templates = trigger.regex ? regexTemplates : plainTemplates;
        trigger.pattern = templates.at((i / 2) % templates.size()).arg(monster);
        trigger.commands = QStringLiteral("say %1").arg(monster);
        triggers << trigger;
    }
    return triggers;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Median wall-clock and CPU seconds of kRuns runs of work. The machine is
// shared, so CPU time is the steadier figure; wall time is shown beside it.
struct Timing {
    double wallSeconds = 0;
    double cpuSeconds = 0;
};

Timing measure(const std::function<void()>& work)
{
    std::vector<double> wall;
    std::vector<double> cpu;
    for (int run = 0; run < kRuns; ++run) {
        const double cpuStart = processCpuSeconds();
        QElapsedTimer clock;
        clock.start();
        work();
        wall.push_back(clock.nsecsElapsed() / 1e9);
        cpu.push_back(processCpuSeconds() - cpuStart);
    }
    return {median(wall), median(cpu)};
}

// Passes the corpus `passes` times through processGameText.
void reportLines(const char* label, ScriptEngine& engine, const QStringList& corpus, int passes)
{
    const Timing timing = measure([&] {
        for (int pass = 0; pass < passes; ++pass) {
            for (const QString& line : corpus)
                engine.processGameText(line);
        }
    });
    const double lines = double(corpus.size()) * passes;
    std::printf("  %-44s %11.0f lines/s CPU %8.2f us/line   (wall %11.0f lines/s)\n", label,
                lines / timing.cpuSeconds, 1e6 * timing.cpuSeconds / lines, lines / timing.wallSeconds);
}

bool writeFile(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::printf("bench_script: median of %d runs\nreproduce: %s\n\n", kRuns, kReproduce);

    const QStringList corpus = makeCorpus();
    int sent = 0;
    int fired = 0;

    std::printf("Triggers over game text (none matching):\n");
    for (int count : {0, 100, 1000}) {
        ScriptEngine engine(nullptr);
        QObject::connect(&engine, &ScriptEngine::triggerFired, [&] { ++fired; });
        Scripts scripts;
        scripts.triggers = makeTriggers(count);
        engine.setScripts(scripts);
        const int passes = count == 0 ? 50 : (count == 100 ? 2 : 1);
        const QByteArray label = QStringLiteral("%1 triggers").arg(count).toUtf8();
        reportLines(label.constData(), engine, corpus, passes);
    }
    if (fired != 0)
        std::printf("  WARNING: %d lines matched a trigger meant not to match\n", fired);

    std::printf("\nOne line in a hundred matches and sends:\n");
    {
        ScriptEngine engine(nullptr);
        QObject::connect(&engine, &ScriptEngine::commandToSend, [&] { ++sent; });
        QStringList mixed = corpus;
        for (int i = 0; i < mixed.size(); i += 100)
            mixed[i] = QStringLiteral("You are hungry.");
        Scripts scripts;
        scripts.triggers = makeTriggers(100);
        Trigger hungry;
        hungry.name = QStringLiteral("hungry");
        hungry.pattern = QStringLiteral("You are hungry");
        hungry.commands = QStringLiteral("get bread bag;eat bread");
        scripts.triggers << hungry; // last: every line pays for the other 100
        engine.setScripts(scripts);
        sent = 0;
        reportLines("101 triggers, 1% match (2 commands each)", engine, mixed, 2);
        std::printf("  (%d commands sent)\n", sent);
    }

    QTemporaryDir dir;
    if (!writeFile(dir.filePath(QStringLiteral("bench.lua")),
                   "function onLine(line)\n"
                   "  local n = line:match('(%d+) damage')\n"
                   "  if n then setVariable('lastDamage', n) end\n"
                   "end\n"
                   "function build()\n"
                   "  local parts = {}\n"
                   "  for i = 1, 200000 do\n"
                   "    parts[#parts + 1] = string.format('%s hits you for %d', 'orc', i)\n"
                   "    if #parts > 100 then parts = {} end\n"
                   "  end\n"
                   "  return table.concat(parts, ';')\n"
                   "end\n"
                   "function crunch()\n"
                   "  local s = 0\n"
                   "  for i = 1, 20000000 do s = s + i % 7 end\n"
                   "  return s\n"
                   "end\n")) {
        std::printf("cannot write the Lua module\n");
        return 1;
    }

    std::printf("\nA \"lua:\" call on every line (plain trigger matching all lines):\n");
    for (int limitMs : {LuaEngine::kDefaultTimeLimitMs, 0}) {
        ScriptEngine engine(nullptr);
        engine.setLuaTimeLimitMs(limitMs);
        engine.setScriptDir(dir.path());
        if (!engine.loadLuaModule(QStringLiteral("bench"))) {
            std::printf("module failed: %s\n", qPrintable(engine.getLuaLastError()));
            return 1;
        }
        Scripts scripts;
        Trigger everyLine;
        everyLine.name = QStringLiteral("every");
        everyLine.commands = QStringLiteral("lua:onLine");
        scripts.triggers << everyLine;
        engine.setScripts(scripts);
        reportLines(limitMs > 0 ? "lua:onLine, time guard on" : "lua:onLine, time guard off", engine, corpus,
                    2);
    }

    std::printf("\nTime guard on longer functions (median time per call):\n");
    const struct {
        const char* function;
        const char* description;
    } workloads[] = {
        {"build", "format + table work, 200k rounds"},
        {"crunch", "arithmetic loop, 20M rounds"},
    };
    for (const auto& workload : workloads) {
        for (int limitMs : {60000, 0}) {
            LuaEngine lua;
            lua.setTimeLimitMs(limitMs);
            lua.setScriptDir(dir.path());
            lua.loadModule(QStringLiteral("bench"));
            bool failed = false;
            const Timing timing = measure(
                [&] { failed |= !lua.callFunction(QString::fromLatin1(workload.function), QString()); });
            const QByteArray label =
                QStringLiteral("%1, guard %2")
                    .arg(QString::fromLatin1(workload.description), QLatin1String(limitMs > 0 ? "on" : "off"))
                    .toUtf8();
            std::printf("  %-44s %8.1f ms CPU   (wall %8.1f ms)%s\n", label.constData(),
                        timing.cpuSeconds * 1e3, timing.wallSeconds * 1e3, failed ? "  CALL FAILED" : "");
        }
    }
    return 0;
}
