// The server of the flood comparison: sends LINES lines of busy coloured game
// text (bench::colouredLine) and the line "BENCH-SENTINEL-END", and times from
// its first byte written to the line "BENCH-ACK" read back, which every client
// in the comparison sends from a trigger on the sentinel. When the answer
// arrives it also looks at both ends of the link, so a client that answered
// without having read the whole flood is caught: the server's send queue
// (TIOCOUTQ) and the client's receive queue (its row in /proc/net/tcp) must
// both be empty.
//
//   bench_flood_server LINES      prints "listening P" and "last TEXT" (the
//                                 last flood line without its colours), then
//                                 "flood lines=N bytes=B ms=T send_queue=S
//                                 client_receive_queue=R" and exits.
// Gives up (exit 1) when no client connects, or no answer comes, in 180 s.

#include <QRegularExpression>

#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "BenchSupport.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kGiveUpMs = 180000;
constexpr int kQuietStartMs = 300;
constexpr size_t kChunkBytes = 64 * 1024;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The receive queue of the loopback socket whose local port is clientPort, as
// the kernel lists it in /proc/net/tcp ("tx_queue:rx_queue", hexadecimal).
long clientReceiveQueue(int clientPort)
{
    std::ifstream table("/proc/net/tcp");
    std::string row;
    std::getline(table, row);
    while (std::getline(table, row)) {
        std::istringstream fields(row);
        std::string slot, local, remote, state, queues;
        fields >> slot >> local >> remote >> state >> queues;
        const size_t colon = local.find(':');
        if (colon == std::string::npos || std::stoi(local.substr(colon + 1), nullptr, 16) != clientPort)
            continue;
        return std::stol(queues.substr(queues.find(':') + 1), nullptr, 16);
    }
    return -1;
}

int listenOnLoopback(int& port)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return -1;
    port = ntohs(address.sin_port);
    return listener;
}

// Waits until the client has said its first word (telnet negotiation) or kept
// quiet for a moment, so its start-up is not part of the measurement.
void awaitSettledClient(int fd)
{
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, kQuietStartMs) > 0) {
        char buf[4096];
        [[maybe_unused]] const ssize_t n = recv(fd, buf, sizeof buf, MSG_DONTWAIT);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const long lines = argc > 1 ? std::atol(argv[1]) : 0;
    if (lines <= 0) {
        std::fprintf(stderr, "usage: %s LINES\n", argv[0]);
        return 2;
    }
    int port = 0;
    const int listener = listenOnLoopback(port);
    if (listener < 0) {
        std::perror("listen");
        return 1;
    }
    const QString lastLine = QString::fromLatin1(bench::colouredLine(lines - 1))
                                 .remove(QRegularExpression(QStringLiteral("\x1b\\[[0-9;]*m")));
    std::printf("listening %d\nlast %s\n", port, qPrintable(lastLine));
    std::fflush(stdout);

    pollfd waiting{listener, POLLIN, 0};
    if (poll(&waiting, 1, kGiveUpMs) <= 0)
        return 1;
    sockaddr_in peer{};
    socklen_t peerLength = sizeof peer;
    const int fd = accept(listener, reinterpret_cast<sockaddr*>(&peer), &peerLength);
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    awaitSettledClient(fd);

    const Clock::time_point start = Clock::now();
    std::string pending, received;
    long next = 0;
    long long bytes = 0;
    bool sentAll = false;
    while (millisecondsSince(start) < kGiveUpMs) {
        if (pending.empty() && !sentAll) {
            while (next < lines && pending.size() < kChunkBytes)
                pending += bench::colouredLine(next++).toStdString() + '\n';
            if (next == lines) {
                pending += "BENCH-SENTINEL-END\n";
                sentAll = true;
            }
            bytes += static_cast<long long>(pending.size());
        }
        pollfd p{fd, short(POLLIN | (pending.empty() ? 0 : POLLOUT)), 0};
        if (poll(&p, 1, 1000) <= 0)
            continue;
        if (p.revents & POLLOUT) {
            const ssize_t n = send(fd, pending.data(), pending.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n > 0)
                pending.erase(0, size_t(n));
        }
        if (p.revents & (POLLIN | POLLHUP | POLLERR)) {
            char buf[4096];
            const ssize_t n = recv(fd, buf, sizeof buf, MSG_DONTWAIT);
            if (n == 0 || (n < 0 && !(p.revents & POLLIN)))
                break;
            if (n > 0)
                received.append(buf, size_t(n));
            if (sentAll && received.find("BENCH-ACK") != std::string::npos) {
                const double ms = millisecondsSince(start);
                int unsent = -1;
                ioctl(fd, TIOCOUTQ, &unsent);
                std::printf("flood lines=%ld bytes=%lld ms=%.0f send_queue=%d client_receive_queue=%ld\n",
                            lines, bytes, ms, unsent, clientReceiveQueue(ntohs(peer.sin_port)));
                std::fflush(stdout);
                close(fd);
                return 0;
            }
        }
    }
    std::fprintf(stderr, "bench_flood_server: no answer from the client\n");
    return 1;
}
