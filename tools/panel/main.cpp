// tavrin-panel: simulated panels from the command line.
#include <pthread.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <system_error>

#include "tools/panel/describe.h"
#include "tools/panel/options.h"
#include "tools/panel/pcap.h"
#include "tools/panel/server.h"

namespace tavrin {
namespace {

constexpr int kCannotRun = 1;

// CRC-32 as gzip and zlib have it.
uint32_t Crc32(ByteView bytes) {
    constexpr uint32_t kPolynomial = 0xEDB88320;
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit) {
            table[i] = table[i] >> 1 ^ ((table[i] & 1) != 0 ? kPolynomial : 0);
        }
    }
    uint32_t crc = ~0U;
    for (const uint8_t byte : bytes) {
        crc = crc >> 8 ^ table[(crc ^ byte) & 0xFF];
    }
    return ~crc;
}

// What happens to each datagram: counted, shown, captured.
class Watcher {
 public:
    Watcher(const Options& options) : m_log(options.log) {
        if (!options.pcap.empty()) {
            m_pcap.emplace(options.pcap, std::chrono::system_clock::now());
        }
    }

    void See(const LogEntry& entry) {
        ++m_counts[static_cast<size_t>(entry.event)];
        if (m_log) {
            std::puts(DescribeEntry(entry).c_str());
        }
        if (m_pcap) {
            Capture(entry);
        }
    }

    bool CaptureFailed() const { return m_captureFailed; }

    void Summarise() const {
        const auto count = [&](Event event) { return m_counts[static_cast<size_t>(event)]; };
        std::printf(
            "%zu requests, %zu replies, %zu beacons; lost to faults: %zu requests, %zu replies\n",
            count(Event::Request), count(Event::Reply), count(Event::Beacon),
            count(Event::LostRequest), count(Event::LostReply));
    }

 private:
    void Capture(const LogEntry& entry) {
        try {
            m_pcap->Write(entry);
        } catch (const std::system_error& error) {
            std::fprintf(stderr, "tavrin-panel: %s\n", error.what());
            m_captureFailed = true;
            m_pcap.reset();
        }
    }

    const bool m_log;
    bool m_captureFailed = false;
    std::optional<PcapWriter> m_pcap;
    std::array<size_t, 5> m_counts{};
};

void ShowBlock(const std::string& address, const MemoryBlock& block) {
    std::printf("block at %s: \"%s\", %zu bytes, crc32 %08x\n", address.c_str(),
                Printable(block.text).c_str(), block.bytes.size(), Crc32(block.bytes));
}

void ShowReady(const Options& options) {
    std::string line = "ready:";
    for (const PanelSettings& panel : options.panels) {
        line += " " + panel.address + " (" + panel.root.string() + ")";
    }
    std::puts(line.c_str());
}

int Run(Options options) {
    // Blocked before any thread starts, so that only the wait below takes them.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    Watcher watcher(options);
    ServerSettings settings;
    settings.logEntries = 0;
    settings.spin = options.spin;
    if (!options.quiet || !options.pcap.empty()) {
        settings.observer = [&](const LogEntry& entry) { watcher.See(entry); };
    }
    for (PanelSettings& panel : options.panels) {
        if (!options.quiet) {
            panel.blockObserver = [address = panel.address](const MemoryBlock& block) {
                ShowBlock(address, block);
            };
        }
    }
    Server server(options.panels, settings);
    server.Start();
    ShowReady(options);
    int signal = 0;
    sigwait(&ending, &signal);
    server.Stop();
    if (!options.quiet) {
        watcher.Summarise();
    }
    return watcher.CaptureFailed() ? kCannotRun : 0;
}

}  // namespace
}  // namespace tavrin

int main(int argc, char** argv) {
    int exitCode = 0;
    auto options = tavrin::ParseOptions(argc, argv, exitCode);
    if (!options) {
        return exitCode;
    }
    try {
        return tavrin::Run(std::move(*options));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tavrin-panel: %s\n", error.what());
        return tavrin::kCannotRun;
    }
}
