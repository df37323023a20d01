#include "commands/file_record.h"

#include "platform/text.h"

namespace brenholt {
namespace {

enum Offset : size_t { kSize = 0, kTime = 4, kAttributes = 12, kReserved = 16, kNameLen = 24 };
static_assert(kNameLen + 1 == kRecordSize);

using Word = std::span<uint8_t, 4>;
using ConstWord = std::span<const uint8_t, 4>;

void Put(Word out, uint32_t value) {
    for (uint8_t& byte : out) {
        byte = static_cast<uint8_t>(value);
        value >>= 8;
    }
}

uint32_t Get(ConstWord in) {
    return uint32_t{in[0]} | uint32_t{in[1]} << 8 | uint32_t{in[2]} << 16 | uint32_t{in[3]} << 24;
}

}  // namespace

void WriteRecord(std::span<uint8_t, kRecordSize> out, const PanelFileRecord& record) {
    Put(out.subspan<kSize, 4>(), record.dwSize);
    Put(out.subspan<kTime, 4>(), record.time.dwHighDateTime);
    Put(out.subspan<kTime + 4, 4>(), record.time.dwLowDateTime);
    Put(out.subspan<kAttributes, 4>(), record.dwAttributes);
    Put(out.subspan<kReserved, 4>(), 0);
    Put(out.subspan<kReserved + 4, 4>(), 0);
    out[kNameLen] = record.byNameLen;
}

PanelFileRecord ReadRecord(std::span<const uint8_t, kRecordSize> in) {
    return {Get(in.subspan<kSize, 4>()), ReadTime(in.subspan<kTime, 8>()),
            Get(in.subspan<kAttributes, 4>()), in[kNameLen]};
}

FILETIME ReadTime(std::span<const uint8_t, 8> in) {
    return {.dwLowDateTime = Get(in.subspan<4, 4>()), .dwHighDateTime = Get(in.subspan<0, 4>())};
}

std::optional<RecordWalk::Entry> RecordWalk::Next() {
    if (m_rest.size() < kRecordSize) {
        return std::nullopt;
    }
    const PanelFileRecord record = ReadRecord(m_rest.first<kRecordSize>());
    const std::span<const uint8_t> after = m_rest.subspan(kRecordSize);
    if (after.size() < record.byNameLen) {
        return std::nullopt;
    }
    m_rest = after.subspan(record.byNameLen);
    return Entry{record, UpToNul({reinterpret_cast<const char*>(after.data()), record.byNameLen})};
}

}  // namespace brenholt
