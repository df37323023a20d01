// PanelFileRecord: how a file is described on the wire.
//
//    offset  width  field
//         0      4  dwSize        bytes, low 32 bits
//         4      4  dwTimeHigh    last write, FILETIME, high word
//         8      4  dwTimeLow     low word
//        12      4  dwAttributes  0x10 marks a directory
//        16      8  reserved, 0
//        24      1  byNameLen
//        25      -  szName, in the system code page
// Words are little-endian and unaligned.
#ifndef BRENHOLT_COMMANDS_FILE_RECORD_H
#define BRENHOLT_COMMANDS_FILE_RECORD_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/file_time.h"

namespace brenholt {

inline constexpr size_t kRecordSize = 6 * sizeof(uint32_t) + 1;

struct PanelFileRecord {
    uint32_t dwSize = 0;
    FILETIME time;
    uint32_t dwAttributes = 0;
    uint8_t byNameLen = 0;
};

void WriteRecord(std::span<uint8_t, kRecordSize> out, const PanelFileRecord& record);
PanelFileRecord ReadRecord(std::span<const uint8_t, kRecordSize> in);
// The two time words as on the wire, high word first.
FILETIME ReadTime(std::span<const uint8_t, 2 * sizeof(uint32_t)> in);

// Walks records laid back to back, each followed by exactly byNameLen bytes of name, and
// never reads outside `area`.
class RecordWalk {
 public:
    struct Entry {
        PanelFileRecord record;
        std::string_view name;  // up to its first NUL
    };

    explicit RecordWalk(std::span<const uint8_t> area) : m_rest(area) {}
    // Nothing when the next record does not lie inside the area.
    std::optional<Entry> Next();

 private:
    std::span<const uint8_t> m_rest;
};

}  // namespace brenholt

#endif
