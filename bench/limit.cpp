// The limits of this machine. Of a lock-step transfer: bare datagrams to and fro, and nothing else.
//   bench_limit serve ADDRESS [DELAY]
//   bench_limit run|block ADDRESS REQUEST REPLY COUNT [DATA FILE]    prints seconds and CPU seconds
// The first two bytes of a request give the length of its reply; it goes out DELAY microseconds later. The
// client that runs waits as the link does for a panel on the same machine: a short spin, then poll; the one that
// blocks never spins. With FILE it stores DATA bytes a round trip there, in blocks as large as the link's: what
// the machine takes for the memory of a file is then part of the limit.
#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr uint16_t kPort = 10260;
constexpr size_t kBufferSize = 2048;
// The server looks longer than any client of it pauses, so that it is never asleep when a request comes.
constexpr auto kServerSpin = std::chrono::milliseconds(1);
constexpr std::chrono::nanoseconds kSpin = std::chrono::microseconds(50);

[[noreturn]] void Fail(const char* what) {
    std::perror(what);
    std::exit(1);  // NOLINT(concurrency-mt-unsafe): one thread calls it
}

sockaddr_in Address(const char* text, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, text, &address.sin_addr) != 1) {
        Fail(text);
    }
    return address;
}

int Socket(const sockaddr_in& local) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        Fail("bind");
    }
    return fd;
}

ssize_t Receive(int fd, char* buffer, size_t size, sockaddr_in& from, int waitMs,
                std::chrono::nanoseconds spin) {
    for (const auto end = Clock::now() + spin;;) {
        socklen_t length = sizeof from;
        const ssize_t n =
            recvfrom(fd, buffer, size, 0, reinterpret_cast<sockaddr*>(&from), &length);
        if (n >= 0) {
            return n;
        }
        if (Clock::now() >= end) {
            pollfd waiting{fd, POLLIN, 0};
            if (poll(&waiting, 1, waitMs) == 0) {
                return -1;
            }
        }
    }
}

void Send(int fd, const char* bytes, size_t size, const sockaddr_in& to) {
    if (sendto(fd, bytes, size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) < 0) {
        Fail("sendto");
    }
}

int Serve(const char* address, std::chrono::microseconds delay) {
    const int fd = Socket(Address(address, kPort));
    std::puts("ready");
    std::fflush(stdout);
    char buffer[kBufferSize] = {};
    for (;;) {
        sockaddr_in from{};
        if (Receive(fd, buffer, sizeof buffer, from, -1, kServerSpin) >= 2) {
            uint16_t reply = 0;
            std::memcpy(&reply, buffer, sizeof reply);
            for (const auto due = Clock::now() + delay; Clock::now() < due;) {
            }
            Send(fd, buffer, std::min<size_t>(reply, sizeof buffer), from);
        }
    }
}

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Gathers bytes, and writes them to a file in large blocks.
class Store {
 public:
    explicit Store(const char* path)
        : m_fd(open(path, O_CREAT | O_TRUNC | O_WRONLY, 0600)), m_block(kTransferBlock) {
        if (m_fd < 0) {
            Fail(path);
        }
    }
    void Take(const char* bytes, size_t size) {
        if (m_used + size > m_block.size()) {
            Flush();
        }
        std::memcpy(m_block.data() + m_used, bytes, size);
        m_used += size;
    }
    void Flush() {
        if (write(m_fd, m_block.data(), m_used) != static_cast<ssize_t>(m_used)) {
            Fail("write");
        }
        m_used = 0;
    }

 private:
    static constexpr size_t kTransferBlock = 20 << 20;

    int m_fd;
    std::vector<char> m_block;
    size_t m_used = 0;
};

int Run(std::chrono::nanoseconds spin, const char* address, size_t request, uint16_t reply,
        long count, size_t data, const char* path) {
    const int fd = Socket(Address("127.0.0.1", 0));
    const sockaddr_in panel = Address(address, kPort);
    char buffer[kBufferSize] = {};
    std::optional<Store> store;
    if (path != nullptr) {
        store.emplace(path);
    }
    const double cpu = CpuSeconds();
    const auto start = Clock::now();
    for (long i = 0; i < count; ++i) {
        std::memcpy(buffer, &reply, sizeof reply);
        Send(fd, buffer, request, panel);
        sockaddr_in from{};
        if (Receive(fd, buffer, sizeof buffer, from, 1000, spin) != reply) {
            Fail("no reply");
        }
        if (store) {
            store->Take(buffer, data);
        }
    }
    if (store) {
        store->Flush();
    }
    const std::chrono::duration<double> took = Clock::now() - start;
    std::printf("%.6f %.6f\n", took.count(), CpuSeconds() - cpu);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "serve" && (argc == 3 || argc == 4)) {
        return Serve(argv[2],
                     std::chrono::microseconds(argc == 4 ? std::strtol(argv[3], nullptr, 10) : 0));
    }
    if ((mode == "run" || mode == "block") && (argc == 6 || argc == 8)) {
        const size_t data = argc == 8 ? std::strtoul(argv[6], nullptr, 10) : 0;
        if (data > kBufferSize) {
            errno = EINVAL;
            Fail("DATA");
        }
        return Run(mode == "run" ? kSpin : std::chrono::nanoseconds(0), argv[2],
                   std::strtoul(argv[3], nullptr, 10),
                   static_cast<uint16_t>(std::strtoul(argv[4], nullptr, 10)),
                   std::strtol(argv[5], nullptr, 10), data, argc == 8 ? argv[7] : nullptr);
    }
    std::fputs(
        "Usage: bench_limit serve ADDRESS [DELAY]\n"
        "       | run|block ADDRESS REQUEST REPLY COUNT [DATA FILE]\n",
        stderr);
    return 2;
}
