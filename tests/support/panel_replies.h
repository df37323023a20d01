// Replies of a panel, byte by byte, for tests that are the panel themselves.
#ifndef BRENHOLT_TESTS_SUPPORT_PANEL_REPLIES_H
#define BRENHOLT_TESTS_SUPPORT_PANEL_REPLIES_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "commands/file_record.h"

namespace brenholt {

inline std::string Record(const std::string& name, uint32_t size = 5, uint32_t attributes = 0x20) {
    std::array<uint8_t, kRecordSize> bytes{};
    WriteRecord(bytes, {size,
                        {.dwLowDateTime = 0x11223344, .dwHighDateTime = 0x01DA0000},
                        attributes,
                        static_cast<uint8_t>(name.size())});
    return std::string(bytes.begin(), bytes.end()) + name;
}

inline std::string Page(char marker, const std::vector<std::string>& records) {
    std::string page = std::string("ACK") + marker + ' ' + static_cast<char>(records.size());
    for (const std::string& record : records) {
        page += record;
    }
    return page;
}

inline std::string Packet(char marker, const std::string& data, uint64_t time = 0) {
    std::string head = std::string("ACK") + marker;
    head.resize(37);
    for (int i = 0; i < 4; ++i) {
        head[static_cast<size_t>(9 + i)] = static_cast<char>(time >> (32 + 8 * i));
        head[static_cast<size_t>(13 + i)] = static_cast<char>(time >> (8 * i));
    }
    return head + data;
}

}  // namespace brenholt

#endif
