// Throughput of TerminalWidget::appendAnsiText at full scrollback, and peak
// memory after a long session. Lines arrive in bursts with the event loop run
// between them, so the deferred scrolling, layout and painting are counted.

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

#include "terminal/TerminalWidget.h"

namespace {

constexpr int kRuns = 5;
constexpr int kLinesPerRun = 50000;
constexpr int kBurst = 100;
constexpr int kScrollback = 5000;
constexpr int kMemoryLines = 200000;

const char* const kCommand = "cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release && "
                             "cmake --build build-release --target bench_terminal && "
                             "build-release/bench_terminal";

QString plainLine(int n)
{
    return QStringLiteral("The guard looks at you suspiciously and mutters something (%1).\n").arg(n);
}

QString colouredLine(int n)
{
    return QStringLiteral("\033[1;32m[Gossip]\033[0m \033[36mBob\033[0m says, \033[33m'hp "
                          "\033[31m%1\033[33m/\033[32m5678\033[33m ki \033[38;5;208m42\033[0m'\n")
        .arg(n);
}

std::unique_ptr<TerminalWidget> makeTerminal()
{
    auto terminal = std::make_unique<TerminalWidget>();
    terminal->resize(900, 700);
    terminal->show();
    for (int i = 0; i < kScrollback; ++i)
        terminal->appendAnsiText(plainLine(i));
    QApplication::processEvents();
    return terminal;
}

void appendLines(TerminalWidget& terminal, int count, QString (*line)(int))
{
    for (int i = 0; i < count; i += kBurst) {
        for (int j = 0; j < kBurst; ++j)
            terminal.appendAnsiText(line(i + j));
        QApplication::processEvents();
    }
}

double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Lines per second of wall time and of process CPU time; on a shared machine the
// second is the steadier figure, and what an otherwise idle machine would reach.
void measure(const char* label, QString (*line)(int))
{
    std::vector<double> wallRates;
    std::vector<double> cpuRates;
    for (int run = 0; run < kRuns; ++run) {
        auto terminal = makeTerminal();
        QElapsedTimer timer;
        timer.start();
        const double cpuStart = processCpuSeconds();
        appendLines(*terminal, kLinesPerRun, line);
        cpuRates.push_back(kLinesPerRun / (processCpuSeconds() - cpuStart));
        wallRates.push_back(kLinesPerRun * 1e9 / double(timer.nsecsElapsed()));
    }
    std::printf("%s %8.0f lines/s wall, %8.0f lines/s of CPU time\n", label, median(wallRates),
                median(cpuRates));
}

// The longest single append, with the event-loop turn that follows it, over a
// few repetitions at full scrollback: what a hostile server can make one turn cost.
void measureLongestAppend(const char* label, const QString& text)
{
    auto terminal = makeTerminal();
    qint64 longest = 0;
    for (int i = 0; i < 20; ++i) {
        QElapsedTimer timer;
        timer.start();
        terminal->appendAnsiText(text);
        QApplication::processEvents();
        longest = std::max(longest, timer.nsecsElapsed());
    }
    std::printf("%s longest append %6.1f ms\n", label, double(longest) / 1e6);
}

QString everyCharacterColoured(qsizetype length)
{
    QString text;
    for (qsizetype i = 0; text.size() < length; ++i)
        text += QStringLiteral("\033[3%1m%2").arg(i % 8).arg(QChar(char16_t(u'a' + i % 26)));
    return text + u'\n';
}

QString truecolourLine(int n)
{
    return QStringLiteral("\033[38;2;%1;%2;%3mA line in its own colour.\n")
        .arg(n & 255)
        .arg(n >> 8 & 255)
        .arg(n >> 16 & 255);
}

long statusKilobytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QRegularExpression pattern(QStringLiteral("^%1:\\s+(\\d+) kB").arg(field),
                                     QRegularExpression::MultilineOption);
    return pattern.match(QString::fromLatin1(status.readAll())).captured(1).toLong();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    std::printf("command: %s\n", kCommand);
    std::printf("%d lines per run in bursts of %d, scrollback %d, median of %d runs\n", kLinesPerRun, kBurst,
                kScrollback, kRuns);
    measure("plain lines:   ", plainLine);
    measure("coloured lines:", colouredLine); // 11 SGR sequences per line

    measureLongestAppend("64 KiB plain line:       ", QString(64 * 1024, u'x') + u'\n');
    measureLongestAppend("64 KiB, colour per char: ", everyCharacterColoured(64 * 1024));
    measureLongestAppend("64 KiB CSI parameters:   ", QStringLiteral("\033[") +
                                                          QStringLiteral("1;").repeated(32 * 1024) +
                                                          QStringLiteral("mx\n"));
    auto terminal = makeTerminal();
    appendLines(*terminal, kMemoryLines / 10, colouredLine);
    const long peakEarly = statusKilobytes("VmHWM");
    appendLines(*terminal, kMemoryLines - kMemoryLines / 10, colouredLine);
    std::printf("peak memory (VmHWM): %ld kB after %d coloured lines, %ld kB after %d; "
                "%d blocks kept\n",
                peakEarly, kMemoryLines / 10, statusKilobytes("VmHWM"), kMemoryLines,
                terminal->document()->blockCount());
    terminal.reset();
    {
        auto terminal = makeTerminal();
        appendLines(*terminal, kMemoryLines, truecolourLine);
        std::printf(
            "peak memory (VmHWM): %ld kB after %d lines of distinct 24-bit colours; %lld formats kept\n",
            statusKilobytes("VmHWM"), kMemoryLines, qlonglong(terminal->document()->allFormats().size()));
    }

    return 0;
}
