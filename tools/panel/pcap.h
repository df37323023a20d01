// Writes datagrams to a capture file: classic pcap, microseconds, raw IPv4 packets whose IP and UDP
// headers are made up here.
#ifndef BRENHOLT_TOOLS_PANEL_PCAP_H
#define BRENHOLT_TOOLS_PANEL_PCAP_H

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "tools/panel/log.h"

namespace tavrin {

class PcapWriter {
 public:
    // `start` is the time of day at entry time 0. Throws std::system_error.
    PcapWriter(const std::filesystem::path& path, std::chrono::system_clock::time_point start);

    // Entries that never were on the wire are skipped. Each packet is flushed, so that the file can
    // be read while it grows. Throws std::system_error.
    void Write(const LogEntry& entry);

 private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Put(ByteView bytes);
    void Flush();

    std::unique_ptr<std::FILE, Closer> m_file;
    std::chrono::system_clock::time_point m_start;
};

}  // namespace tavrin

#endif
