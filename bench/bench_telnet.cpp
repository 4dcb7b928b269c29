// Receive-path throughput: the telnet parser alone, and a MudConnection fed
// over loopback by a server thread, both on the same coloured game text.
//
// Usage: bench_telnet [runs] [megabytes]   (defaults: 7 runs, 10 MB)
// Build in Release for meaningful figures (see the command printed at the end).

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <future>
#include <thread>
#include <vector>

#include "net/MudConnection.h"
#include "net/TelnetParser.h"

namespace {

// What a busy room looks like: room titles, mobs, chat and prompts, every
// line carrying a few SGR sequences, as a game server sends them.
QByteArray colouredText(qsizetype bytes)
{
    const char* const lines[] = {
        "\x1b[1;36mThe Temple Square\x1b[0m\r\n",
        "  You stand in the middle of a \x1b[33mbusy\x1b[0m square; merchants shout "
        "their prices.\r\n",
        "\x1b[1;32mA cityguard\x1b[0m is standing here, watching the crowd.\r\n",
        "\x1b[31m[Gossip]\x1b[0m \x1b[1;37mTarn\x1b[0m: anyone up for the dragon run tonight?\r\n",
        "\x1b[1;31mThe orc hits you hard!\x1b[0m  \x1b[38;5;208m(-12)\x1b[0m\r\n",
        "\x1b[0;37m[Exits: \x1b[1;33mnorth east south\x1b[0;37m]\x1b[0m\r\n",
        "> \x1b[32mPL:\x1b[1;32m1200\x1b[0m \x1b[36mKi:\x1b[1;36m350\x1b[0m "
        "\x1b[33mFat:\x1b[1;33m12%\x1b[0m\r\n",
    };
    QByteArray text;
    text.reserve(bytes + 256);
    for (size_t i = 0; text.size() < bytes; ++i)
        text += lines[i % std::size(lines)];
    text.truncate(bytes);
    return text;
}

// Wall-clock figures are what the player gets; on a shared machine they drop
// when other processes take the cores, so the receiving thread's own CPU time
// is reported beside them as the load-independent figure.
struct Rate {
    double wall = 0; // MB per second of wall-clock time
    double cpu = 0;  // MB per second of the receiving thread's CPU time
};

class Stopwatch {
public:
    Stopwatch() { restart(); }
    void restart()
    {
        wall.start();
        cpuStart = threadCpuNs();
    }
    Rate rate(qint64 bytes) const
    {
        const double mb = bytes / 1e6;
        return {mb / (wall.nsecsElapsed() / 1e9), mb / ((threadCpuNs() - cpuStart) / 1e9)};
    }

private:
    static qint64 threadCpuNs()
    {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
    }
    QElapsedTimer wall;
    qint64 cpuStart = 0;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Parses the stream in socket-sized chunks.
Rate parserRun(const QByteArray& stream)
{
    constexpr qsizetype kChunk = 64 * 1024;
    std::vector<QByteArray> chunks;
    for (qsizetype at = 0; at < stream.size(); at += kChunk)
        chunks.push_back(stream.mid(at, kChunk));

    TelnetParser parser;
    qint64 characters = 0;
    parser.onText = [&](const QString& c) {
        characters += c.size();
    };
    parser.onMsdpVariable = [](const QString&) {
    };
    parser.onError = [](const QString&) {
    };
    parser.onWill = [](int) {
    };
    parser.onDo = [](int) {
    };

    Stopwatch clock;
    for (const QByteArray& chunk : chunks)
        parser.parse(chunk);
    const Rate rate = clock.rate(stream.size());
    if (characters != stream.size())
        qFatal("parser delivered %lld characters, expected %lld", characters, qint64(stream.size()));
    return rate;
}

// A server thread writes the stream and closes; the clock runs from
// connectToServer until the last character signal.
Rate connectionRun(const QByteArray& stream)
{
    std::promise<quint16> portPromise;
    std::future<quint16> portFuture = portPromise.get_future();
    std::thread server([&] {
        QTcpServer listener;
        listener.listen(QHostAddress::LocalHost);
        portPromise.set_value(listener.serverPort());
        if (!listener.waitForNewConnection(30000))
            return;
        QTcpSocket* peer = listener.nextPendingConnection();
        peer->write(stream);
        while (peer->bytesToWrite() > 0 && peer->waitForBytesWritten(30000)) {
        }
        peer->disconnectFromHost();
        if (peer->state() != QAbstractSocket::UnconnectedState)
            peer->waitForDisconnected(30000);
    });
    const quint16 port = portFuture.get();

    MudConnection connection;
    QEventLoop loop;
    qint64 characters = 0;
    Rate rate;
    Stopwatch clock;
    QObject::connect(&connection, &MudConnection::textReceived, [&](const QString& c) {
        characters += c.size();
        if (characters == stream.size()) {
            rate = clock.rate(stream.size());
            loop.quit();
        }
    });
    QObject::connect(&connection, &MudConnection::error, [&](const QString& message) {
        if (characters < stream.size())
            qFatal("connection error: %s", qPrintable(message));
    });
    QTimer::singleShot(60000, &loop, [] { qFatal("timed out waiting for the stream"); });
    clock.restart();
    connection.connectToServer(QStringLiteral("127.0.0.1"), port);
    loop.exec();
    connection.disconnectFromServer();
    server.join();
    return rate;
}

void report(const char* what, const std::vector<Rate>& runs)
{
    std::vector<double> wall;
    std::vector<double> cpu;
    for (const Rate& r : runs) {
        wall.push_back(r.wall);
        cpu.push_back(r.cpu);
    }
    std::printf("  %-28s %7.1f MB/s wall (min %.1f, max %.1f), %7.1f MB/s per CPU-second\n", what,
                median(wall), *std::min_element(wall.begin(), wall.end()),
                *std::max_element(wall.begin(), wall.end()), median(cpu));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 7;
    const int megabytes = argc > 2 ? std::max(1, atoi(argv[2])) : 10;
    const QByteArray stream = colouredText(qsizetype(megabytes) * 1000 * 1000);

    std::vector<Rate> parser;
    std::vector<Rate> connection;
    for (int i = 0; i < runs; ++i) {
        parser.push_back(parserRun(stream));
        connection.push_back(connectionRun(stream));
    }
    std::printf("stream: %d MB (10^6 bytes) of ANSI-coloured text, medians of %d runs\n", megabytes, runs);
    report("TelnetParser::parse", parser);
    report("MudConnection over loopback", connection);
    std::printf("reproduce: cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release && "
                "cmake --build build-release --target bench_telnet && "
                "build-release/bench_telnet %d %d\n",
                runs, megabytes);
    return 0;
}
