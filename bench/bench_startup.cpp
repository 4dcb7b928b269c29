// Start-up time: from starting the process to the main window's first paint.
// The parent starts this same program with --child several times and times
// each from just before the spawn to the child's "shown" line on a steady
// clock, so the dynamic loader, library start-up and everything main() does
// are counted. The child does what app/main.cpp does (application, "Fusion"
// style, the application style sheet, the bundled font, the main window,
// show) and reports at the end of the event-loop turn that painted the window.
// The data directory is a fresh one holding eight characters with a hundred
// triggers each, so the character list has something to show.
//
//   bench_startup [runs]        (default 7; prints the median)

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "BenchSupport.h"
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "storage/Storage.h"

extern char** environ;

namespace {

constexpr int kDefaultRuns = 7;
constexpr int kCharacters = 8;

// Milliseconds since the kernel started this process; /proc gives the start
// in clock ticks (10 ms), so this is the coarse cross-check of the parent's.
double msSinceProcessStart()
{
    FILE* stat = std::fopen("/proc/self/stat", "r");
    if (!stat)
        return -1;
    char buffer[1024] = {};
    const size_t length = std::fread(buffer, 1, sizeof buffer - 1, stat);
    std::fclose(stat);
    buffer[length] = '\0';
    // Field 22 (starttime); the second field may hold spaces, so count from ")".
    const char* field = std::strrchr(buffer, ')');
    for (int i = 2; field && i < 22; ++i)
        field = std::strchr(field + 1, ' ');
    if (!field)
        return -1;
    const double startSeconds = std::strtod(field + 1, nullptr) / double(sysconf(_SC_CLK_TCK));
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return (double(now.tv_sec) + double(now.tv_nsec) / 1e9 - startSeconds) * 1000;
}

// Reports once, after the turn in which some widget of the window painted.
class FirstPaintWatcher final : public QObject {
public:
    explicit FirstPaintWatcher(QWidget* window)
        : window(window)
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!seen && event->type() == QEvent::Paint && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->window() == window) {
            seen = true;
            QTimer::singleShot(0, qApp, [] {
                std::printf("shown %.1f\n", msSinceProcessStart());
                std::fflush(stdout);
                QCoreApplication::exit(0);
            });
        }
        return false;
    }

private:
    QWidget* window;
    bool seen = false;
};

int runChild(int argc, char** argv)
{
    // The same steps, in the same order, as the client's main().
    QApplication app(argc, argv);
    Startup::prepareApplication(app);

    MainWindow window;
    FirstPaintWatcher watcher(&window);
    app.installEventFilter(&watcher);
    window.show();
    return app.exec();
}

void prepareCharacters()
{
    QList<Character> characters;
    Scripts scripts;
    scripts.triggers = bench::idleTriggers(100);
    for (int i = 0; i < kCharacters; ++i) {
        Character character;
        character.name = QStringLiteral("Hero%1").arg(i + 1);
        character.host = QStringLiteral("mud%1.example.org").arg(i + 1);
        character.port = 4000 + i;
        character.mudName = QStringLiteral("Example MUD");
        characters.append(character);
        Storage::instance()->setScripts(character, scripts);
    }
    Storage::instance()->setCharacters(characters);
}

struct Sample {
    double parentMs = -1;
    double childMs = -1;
};

Sample timeOneStart(const char* self)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[1]);
    char child[] = "--child";
    char* const arguments[] = {const_cast<char*>(self), child, nullptr};

    Sample sample;
    QElapsedTimer clock;
    clock.start();
    pid_t pid = 0;
    if (posix_spawn(&pid, self, &actions, nullptr, arguments, environ) != 0) {
        std::perror("posix_spawn");
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);

    std::string output;
    char buffer[256];
    ssize_t got = 0;
    while (output.find('\n') == std::string::npos && (got = read(pipeEnds[0], buffer, sizeof buffer)) > 0)
        output.append(buffer, size_t(got));
    if (output.rfind("shown ", 0) == 0) {
        sample.parentMs = clock.nsecsElapsed() / 1e6;
        sample.childMs = std::strtod(output.c_str() + 6, nullptr);
    }
    while (read(pipeEnds[0], buffer, sizeof buffer) > 0) {
    }
    close(pipeEnds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (sample.parentMs < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "bench_startup: the child failed (%s)\n", output.c_str());
        std::exit(1);
    }
    return sample;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--child") == 0)
        return runChild(argc, argv);

    bench::isolateDataDirectory(); // inherited by every child
    prepareCharacters();
    const int runs = argc > 1 ? qMax(1, atoi(argv[1])) : kDefaultRuns;
    const std::string self = QFile::symLinkTarget(QStringLiteral("/proc/self/exe")).toStdString();

    // One start that is not counted: it brings the program and the libraries
    // into the page cache, as any start after the first finds them.
    timeOneStart(self.c_str());
    std::vector<double> parent;
    std::vector<double> child;
    for (int run = 0; run < runs; ++run) {
        const Sample sample = timeOneStart(self.c_str());
        parent.push_back(sample.parentMs);
        child.push_back(sample.childMs);
    }
    std::printf("startup runs=%d median_ms=%.1f min_ms=%.1f max_ms=%.1f child_median_ms=%.0f\n", runs,
                bench::median(parent), *std::min_element(parent.begin(), parent.end()),
                *std::max_element(parent.begin(), parent.end()), bench::median(child));
    return 0;
}
