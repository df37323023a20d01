#include "tools/panel/pcap.h"

#include <array>
#include <cerrno>
#include <system_error>

namespace tavrin {
namespace {

constexpr size_t kIpHeader = 20;
constexpr size_t kUdpHeader = 8;
constexpr size_t kHeaders = kIpHeader + kUdpHeader;
constexpr uint32_t kMagic = 0xA1B2C3D4;
constexpr uint32_t kVersion = 2 | 4 << 16;
constexpr uint32_t kSnapLength = 65535;
constexpr uint32_t kLinkTypeRaw = 101;

void WriteBig16(std::span<uint8_t> bytes, size_t at, size_t value) {
    bytes[at] = static_cast<uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<uint8_t>(value);
}

void WriteBig32(std::span<uint8_t> bytes, size_t at, uint32_t value) {
    WriteBig16(bytes, at, value >> 16);
    WriteBig16(bytes, at + 2, value & 0xFFFF);
}

uint16_t IpChecksum(ByteView header) {
    uint32_t sum = 0;
    for (size_t i = 0; i < header.size(); i += 2) {
        sum += static_cast<uint32_t>(header[i]) << 8 | header[i + 1];
    }
    sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint16_t>(~(sum + (sum >> 16)));
}

std::array<uint8_t, kHeaders> MakeHeaders(const LogEntry& entry) {
    constexpr uint8_t kVersionAndLength = 0x45;
    constexpr uint8_t kTimeToLive = 64;
    constexpr uint8_t kUdp = 17;
    std::array<uint8_t, kHeaders> headers{};
    const std::span ip(headers.data(), kIpHeader);
    ip[0] = kVersionAndLength;
    WriteBig16(ip, 2, kHeaders + entry.bytes.size());
    ip[8] = kTimeToLive;
    ip[9] = kUdp;
    WriteBig32(ip, 12, entry.source.ip);
    WriteBig32(ip, 16, entry.destination.ip);
    WriteBig16(ip, 10, IpChecksum(ip));
    const auto udp = std::span(headers).subspan(kIpHeader);
    WriteBig16(udp, 0, entry.source.port);
    WriteBig16(udp, 2, entry.destination.port);
    WriteBig16(udp, 4, kUdpHeader + entry.bytes.size());
    // The UDP checksum stays 0, which means none.
    return headers;
}

}  // namespace

PcapWriter::PcapWriter(const std::filesystem::path& path,
                       std::chrono::system_clock::time_point start)
    : m_file(std::fopen(path.c_str(), "wbe")), m_start(start) {
    if (!m_file) {
        throw std::system_error(errno, std::generic_category(), path.string());
    }
    std::array<uint8_t, 24> header{};
    WriteWord(header, 0, kMagic);
    WriteWord(header, 4, kVersion);
    WriteWord(header, 16, kSnapLength);
    WriteWord(header, 20, kLinkTypeRaw);
    Put(header);
    Flush();
}

void PcapWriter::Write(const LogEntry& entry) {
    if (entry.event == Event::LostReply) {
        return;
    }
    constexpr int64_t kMicroseconds = 1'000'000;
    const auto at = std::chrono::duration_cast<std::chrono::microseconds>(
                        m_start.time_since_epoch() + entry.time)
                        .count();
    const auto length = static_cast<uint32_t>(kHeaders + entry.bytes.size());
    std::array<uint8_t, 16> header{};
    WriteWord(header, 0, static_cast<uint32_t>(at / kMicroseconds));
    WriteWord(header, 4, static_cast<uint32_t>(at % kMicroseconds));
    WriteWord(header, 8, length);
    WriteWord(header, 12, length);
    Put(header);
    Put(MakeHeaders(entry));
    Put(entry.bytes);
    Flush();
}

void PcapWriter::Put(ByteView bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_file.get()) != bytes.size()) {
        throw std::system_error(errno, std::generic_category(), "capture file");
    }
}

void PcapWriter::Flush() {
    if (std::fflush(m_file.get()) != 0) {
        throw std::system_error(errno, std::generic_category(), "capture file");
    }
}

}  // namespace tavrin
