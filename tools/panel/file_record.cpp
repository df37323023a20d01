#include "tools/panel/file_record.h"

namespace tavrin {
namespace {

constexpr std::int64_t kEpochSeconds = 11644473600;  // from 1601 to 1970
constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr long kNanosecondsPerTick = 100;

}  // namespace

FileRecord ReadRecord(ByteView bytes) {
    FileRecord record;
    record.size = ReadWord(bytes, 0);
    record.time = static_cast<std::uint64_t>(ReadWord(bytes, 4)) << 32 | ReadWord(bytes, 8);
    record.attributes = ReadWord(bytes, 12);
    record.reserved = static_cast<std::uint64_t>(ReadWord(bytes, 20)) << 32 | ReadWord(bytes, 16);
    record.name_length = bytes[kRecordNameLength];
    return record;
}

void WriteRecord(std::span<std::uint8_t> bytes, const FileRecord& record) {
    WriteWord(bytes, 0, record.size);
    WriteWord(bytes, 4, static_cast<std::uint32_t>(record.time >> 32));
    WriteWord(bytes, 8, static_cast<std::uint32_t>(record.time));
    WriteWord(bytes, 12, record.attributes);
    WriteWord(bytes, 16, static_cast<std::uint32_t>(record.reserved));
    WriteWord(bytes, 20, static_cast<std::uint32_t>(record.reserved >> 32));
    bytes[kRecordNameLength] = record.name_length;
}

std::uint64_t WireTime(const timespec& time) {
    if (time.tv_sec < -kEpochSeconds) {
        return 0;
    }
    return static_cast<std::uint64_t>(time.tv_sec + kEpochSeconds) * kTicksPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec / kNanosecondsPerTick);
}

timespec DiskTime(std::uint64_t time) {
    return {static_cast<time_t>(time / kTicksPerSecond) - kEpochSeconds,
            static_cast<long>(time % kTicksPerSecond) * kNanosecondsPerTick};
}

}  // namespace tavrin
