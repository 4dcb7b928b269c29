// The server half of the reliability runs: a game server that misbehaves in
// one chosen way. It listens on 127.0.0.1, prints "listening P", and on its
// first connection streams the hostile case (generated as it goes, so the
// server itself stays small), then a line feed, a colour reset and the check
// line "HOSTILE-CHECK the gate holds". Any later connection (the client
// reconnects when the link broke or went silent) gets the check line alone.
// It never reads while it floods, as a hostile server would not; afterwards
// it drains the client until it hangs up. bench_hostile is the client half;
// bench/run-reliability.sh runs both for every case.
//
//   bench_hostile_server CASE [--scale N]     (N in percent, default 100)

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <zlib.h>

namespace {

constexpr unsigned char IAC = 255, DONT = 254, DO = 253, WONT = 252, WILL = 251, SB = 250, GA = 249, SE = 240;
constexpr unsigned char kMsdp = 69, kMccp2 = 86, kNaws = 31, kTtype = 24, kEcho = 1;
const std::string kCheck = "\r\n\x1b[0m\r\nHOSTILE-CHECK the gate holds\r\n";

double scale = 1.0;

long scaled(long count)
{
    return std::max(1L, long(double(count) * scale));
}

// A blocking writer with a buffer, so generators can emit byte by byte.
class Out {
public:
    explicit Out(int fd)
        : fd(fd)
    {
    }
    ~Out() { flush(); }
    void put(const std::string& s) { append(s.data(), s.size()); }
    void put(std::initializer_list<unsigned char> bytes)
    {
        for (unsigned char b : bytes)
            buffer.push_back(char(b));
        if (buffer.size() >= kChunk)
            flush();
    }
    void append(const char* data, size_t size)
    {
        buffer.append(data, size);
        if (buffer.size() >= kChunk)
            flush();
    }
    void flush()
    {
        size_t done = 0;
        while (done < buffer.size()) {
            const ssize_t n = ::send(fd, buffer.data() + done, buffer.size() - done, MSG_NOSIGNAL);
            if (n <= 0) {
                broken = true;
                break;
            }
            done += size_t(n);
        }
        buffer.clear();
    }
    bool broken = false;
    int fd;

private:
    static constexpr size_t kChunk = 256 * 1024;
    std::string buffer;
};

uint64_t nextRandom(uint64_t& state)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
}

// Waits up to timeoutMs for the client's IAC DO option among what it sends.
bool awaitDo(int fd, unsigned char option, int timeoutMs)
{
    std::string seen;
    for (int waited = 0; waited < timeoutMs; waited += 50) {
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, 50) > 0) {
            char buf[4096];
            const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
            if (n <= 0)
                return false;
            seen.append(buf, size_t(n));
            if (seen.find(std::string{char(IAC), char(DO), char(option)}) != std::string::npos)
                return true;
        }
    }
    return false;
}

std::string word(uint64_t& state)
{
    static const char* const kWords[] = {"the", "bandit", "strikes", "you", "hard", "and", "flees", "north"};
    return kWords[nextRandom(state) % 8];
}

// Reported to bench/run-reliability.sh, which then knows the case never ran.
void refusedCompression()
{
    std::printf("refused compression\n");
    std::fflush(stdout);
}

void endlessSubnegotiation(Out& out)
{
    out.put({IAC, SB, kMsdp, 1});
    out.put("big");
    out.put({2});
    const std::string block(64 * 1024, 'v');
    for (long i = 0; i < scaled(1024); ++i)
        out.put(block);
    out.put({IAC, SE});
}

void negotiationOffers(Out& out)
{
    static const unsigned char kVerbs[] = {WILL, DO, WONT, DONT};
    for (long i = 0; i < scaled(1000000); ++i)
        out.put({IAC, kVerbs[i % 4], (i & 4) ? kMsdp : static_cast<unsigned char>(i / 4 % 256)});
}

void randomBytes(Out& out)
{
    uint64_t state = 0x9e3779b97f4a7c15ULL;
    char block[4096];
    for (long i = 0; i < scaled(50L * 256); ++i) {
        for (size_t j = 0; j < sizeof block; j += 8) {
            const uint64_t r = nextRandom(state);
            std::memcpy(block + j, &r, 8);
        }
        out.append(block, sizeof block);
    }
    out.put({IAC, SE});
}

void longLine(Out& out)
{
    const std::string block = "\x1b[1;33m" + std::string(64 * 1024 - 11, 'x') + "\x1b[0m";
    for (long i = 0; i < scaled(1024); ++i)
        out.put(block);
}

void wideLines(Out& out)
{
    uint64_t state = 7;
    std::string line;
    for (long i = 0; i < scaled(2000); ++i) {
        line.clear();
        while (line.size() < 60 * 1024 - 16)
            line += (nextRandom(state) % 7 ? "" : "\x1b[3" + std::to_string(nextRandom(state) % 8) + "m") +
                    word(state) + ' ';
        line += "\x1b[0m\r\n";
        out.put(line);
    }
}

void hugeCsi(Out& out)
{
    std::string digits;
    for (int i = 0; i < 512 * 1024; ++i)
        digits += (i % 2) ? ';' : '9';
    for (long i = 0; i < scaled(32); ++i)
        out.put("\x1b[" + digits + "mhuge parameters " + std::to_string(i) + "\r\n");
    for (long i = 0; i < scaled(100000); ++i)
        out.put("\x1b[38;2;99999999999;-1;4294967296m\x1b[" + std::to_string(i * 1000003) +
                "C\x1b[999999999999999999999999Jodd sequence\x1b[0m\r\n");
}

void trueColours(Out& out)
{
    char line[96];
    for (long i = 0; i < scaled(1000000); ++i) {
        const int n = std::snprintf(line, sizeof line, "\x1b[38;2;%ld;%ld;%ldmcolour %ld\x1b[0m\r\n",
                                    (i >> 16) & 255, (i >> 8) & 255, i & 255, i);
        out.append(line, size_t(n));
    }
}

void msdpNames(Out& out)
{
    for (long i = 0; i < scaled(2000000); i += 100) {
        out.put({IAC, SB, kMsdp});
        for (long j = i; j < i + 100; ++j) {
            out.put({1});
            out.put("VAR_" + std::to_string(j));
            out.put({2});
            out.put("1");
        }
        out.put({IAC, SE});
    }
}

void msdpHighlighted(Out& out)
{
    for (long i = 0; i < scaled(2000000); ++i) {
        out.put({IAC, SB, kMsdp, 1});
        out.put("HEALTH");
        out.put({2});
        out.put(std::to_string(i));
        out.put({IAC, SE});
    }
}

void slowDrip(Out& out)
{
    const std::string text = "\x1b[1;31mA drip of text, \x1b[38;5;214mone byte at a time.\x1b[0m\r\n";
    for (long i = 0; i < scaled(500); ++i) {
        out.put(std::string(1, text[size_t(i) % text.size()]));
        out.flush();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// The link breaks inside a line and inside a colour escape; with
// `inSubnegotiation` also inside an MSDP sub-negotiation.
void resetLink(Out& out, bool inSubnegotiation)
{
    for (int i = 0; i < 10; ++i)
        out.put("A line before the reset " + std::to_string(i) + "\r\n");
    out.put("a line the reset cuts \x1b[1;3");
    if (inSubnegotiation) {
        out.put({IAC, SB, kMsdp, 1});
        out.put("HALF");
    }
    out.flush();
    // Let the client take it all in first: a reset before it has seen the
    // link come up only makes it try the connection again.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    linger hard{1, 0};
    setsockopt(out.fd, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    close(out.fd);
    out.fd = -1;
    out.broken = true;
}

void resetMidLine(Out& out)
{
    resetLink(out, false);
}

// Only played with standard telnet: the default parser keeps its state from
// one link to the next by design, so there a sub-negotiation cut by a reset
// swallows the next link's text until an IAC SE arrives.
void resetMidSubnegotiation(Out& out)
{
    resetLink(out, true);
}

void backtracking(Out& out)
{
    // Matched by the client's trigger ^(\w+\s?)*$: every split of the a's is
    // tried before the final "!" rules the line out.
    for (long i = 0; i < scaled(20); ++i)
        out.put(std::string(40, 'a') + "!\r\n");
}

void mccpBomb(Out& out)
{
    out.put({IAC, WILL, kMccp2});
    out.flush();
    if (!awaitDo(out.fd, kMccp2, 3000)) {
        refusedCompression();
        return;
    }
    out.put({IAC, SB, kMccp2, IAC, SE});
    z_stream z{};
    deflateInit(&z, 9);
    static unsigned char zeros[1 << 20], packed[1 << 16];
    const long megabytes = scaled(1024);
    for (long i = 0; i <= megabytes && !out.broken; ++i) {
        z.next_in = zeros;
        z.avail_in = i < megabytes ? sizeof zeros : 0;
        const int flush = i < megabytes ? Z_NO_FLUSH : Z_FINISH;
        do {
            z.next_out = packed;
            z.avail_out = sizeof packed;
            deflate(&z, flush);
            out.append(reinterpret_cast<char*>(packed), sizeof packed - z.avail_out);
        } while (z.avail_out == 0);
    }
    deflateEnd(&z);
}

void mccpCorrupt(Out& out)
{
    out.put({IAC, WILL, kMccp2});
    out.flush();
    if (!awaitDo(out.fd, kMccp2, 3000)) {
        refusedCompression();
        return;
    }
    out.put({IAC, SB, kMccp2, IAC, SE});
    out.put({0x78, 0x9c}); // a valid zlib header, then nonsense
    uint64_t state = 99;
    for (int i = 0; i < 64 * 1024; ++i)
        out.put({static_cast<unsigned char>(nextRandom(state))});
}

void utf8Split(Out& out)
{
    const std::string text = "Caf\xc3\xa9 \xe6\xbc\xa2\xe5\xad\x97 \xf0\x9f\x98\x80 bad:\xc3\x28 \xf8\x88\x80"
                             "\x80\x80 \x80 \xc0\xaf \xed\xa0\x80 \xe6\xbc end\r\n";
    for (int i = 0; i < 40; ++i) {
        for (char c : text) {
            out.put(std::string(1, c));
            out.flush();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    }
    for (long i = 0; i < scaled(20000); ++i)
        out.put(text);
}

void gaPrompts(Out& out)
{
    out.put({IAC, WILL, kEcho, IAC, WONT, kEcho});
    for (long i = 0; i < scaled(1000000); ++i) {
        out.put("HP " + std::to_string(i % 1000) + "> ");
        out.put({IAC, GA});
    }
}

void windowRequests(Out& out)
{
    for (long i = 0; i < scaled(1000000); ++i)
        out.put({IAC, DO, kNaws, IAC, DO, kTtype, IAC, SB, kTtype, 1, IAC, SE});
}

// The cycles case: each of 200 links gets a little text and an MSDP update,
// then the client hangs up and reconnects.
void oneCycle(Out& out, int cycle)
{
    for (int i = 0; i < 50; ++i)
        out.put("\x1b[32mCycle " + std::to_string(cycle) + " line " + std::to_string(i) + "\x1b[0m\r\n");
    out.put({IAC, SB, kMsdp, 1});
    out.put("ROOM_NAME");
    out.put({2});
    out.put("Room " + std::to_string(cycle));
    out.put({IAC, SE});
    out.put("CYCLE-END " + std::to_string(cycle) + "\r\n");
}

void drainUntilClosed(int fd)
{
    char buf[65536];
    while (::recv(fd, buf, sizeof buf, 0) > 0) {
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::map<std::string, std::function<void(Out&)>> cases = {
        {"iac-sb", endlessSubnegotiation},
        {"negotiation", negotiationOffers},
        {"random", randomBytes},
        {"long-line", longLine},
        {"wide-lines", wideLines},
        {"huge-csi", hugeCsi},
        {"truecolour", trueColours},
        {"msdp-names", msdpNames},
        {"msdp-highlight", msdpHighlighted},
        {"drip", slowDrip},
        {"reset", resetMidLine},
        {"reset-sb", resetMidSubnegotiation},
        {"backtrack", backtracking},
        {"mccp-bomb", mccpBomb},
        {"mccp-corrupt", mccpCorrupt},
        {"utf8-split", utf8Split},
        {"ga-prompts", gaPrompts},
        {"window-requests", windowRequests},
        {"cycles", nullptr},
    };
    const std::string name = argc > 1 ? argv[1] : "";
    if (argc > 3 && std::strcmp(argv[2], "--scale") == 0)
        scale = std::atof(argv[3]) / 100.0;
    const auto found = cases.find(name);
    if (found == cases.end()) {
        std::fprintf(stderr, "usage: %s CASE [--scale PERCENT]\ncases:", argv[0]);
        for (const auto& entry : cases)
            std::fprintf(stderr, " %s", entry.first.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }

    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 4) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("listen");
        return 1;
    }
    std::printf("listening %d\n", ntohs(address.sin_port));
    std::fflush(stdout);

    const int cycles = name == "cycles" ? 200 : 0;
    for (int link = 0;; ++link) {
        const int fd = accept(listener, nullptr, nullptr);
        if (fd < 0)
            return 1;
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        {
            Out out(fd);
            if (link < cycles)
                oneCycle(out, link);
            else if (link == 0)
                found->second(out);
            if (!out.broken && link >= cycles)
                out.put(kCheck);
        }
        if (link == 0 && cycles == 0)
            std::printf("payload sent\n");
        std::fflush(stdout);
        if (name.rfind("reset", 0) != 0 || link > 0) {
            drainUntilClosed(fd);
            close(fd);
        }
    }
}
