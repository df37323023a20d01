// The file record that listings, fetched files and sent files share on the wire.
//
//   0   4  size in bytes        16  4  reserved, 0
//   4   4  last write, high     20  4  reserved, 0
//   8   4  last write, low      24  1  length of the name
//   12  4  attributes           25     name
//
// Words are little-endian and not aligned. The time counts 100 ns from 1 January 1601 UTC.
#ifndef BRENHOLT_TOOLS_PANEL_FILE_RECORD_H
#define BRENHOLT_TOOLS_PANEL_FILE_RECORD_H

#include <ctime>

#include <cstdint>

#include "tools/panel/wire.h"

namespace tavrin {

inline constexpr size_t kRecordSize = 25;  // fixed part, name not counted
inline constexpr size_t kRecordNameLength = 24;
inline constexpr uint32_t kAttributeReadOnly = 0x01;
inline constexpr uint32_t kAttributeFolder = 0x10;
inline constexpr uint32_t kAttributeArchive = 0x20;

struct FileRecord {
    uint32_t size = 0;
    uint64_t time = 0;
    uint32_t attributes = 0;
    uint64_t reserved = 0;
    uint8_t nameLength = 0;
};

// `bytes` holds at least kRecordSize bytes.
FileRecord ReadRecord(ByteView bytes);
void WriteRecord(std::span<uint8_t> bytes, const FileRecord& record);

// Times before 1601 become 0.
uint64_t WireTime(const timespec& time);
timespec DiskTime(uint64_t time);

}  // namespace tavrin

#endif
