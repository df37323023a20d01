#include "tools/panel/file_record.h"

namespace tavrin {
namespace {

constexpr int64_t kEpochSeconds = 11644473600;  // from 1601 to 1970
constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr long kNanosecondsPerTick = 100;

}  // namespace

FileRecord ReadRecord(ByteView bytes) {
    FileRecord record;
    record.size = ReadWord(bytes, 0);
    record.time = static_cast<uint64_t>(ReadWord(bytes, 4)) << 32 | ReadWord(bytes, 8);
    record.attributes = ReadWord(bytes, 12);
    record.reserved = static_cast<uint64_t>(ReadWord(bytes, 20)) << 32 | ReadWord(bytes, 16);
    record.nameLength = bytes[kRecordNameLength];
    return record;
}

void WriteRecord(std::span<uint8_t> bytes, const FileRecord& record) {
    WriteWord(bytes, 0, record.size);
    WriteWord(bytes, 4, static_cast<uint32_t>(record.time >> 32));
    WriteWord(bytes, 8, static_cast<uint32_t>(record.time));
    WriteWord(bytes, 12, record.attributes);
    WriteWord(bytes, 16, static_cast<uint32_t>(record.reserved));
    WriteWord(bytes, 20, static_cast<uint32_t>(record.reserved >> 32));
    bytes[kRecordNameLength] = record.nameLength;
}

uint64_t WireTime(const timespec& time) {
    if (time.tv_sec < -kEpochSeconds) {
        return 0;
    }
    return static_cast<uint64_t>(time.tv_sec + kEpochSeconds) * kTicksPerSecond +
           static_cast<uint64_t>(time.tv_nsec / kNanosecondsPerTick);
}

timespec DiskTime(uint64_t time) {
    return {static_cast<time_t>(time / kTicksPerSecond) - kEpochSeconds,
            static_cast<long>(time % kTicksPerSecond) * kNanosecondsPerTick};
}

}  // namespace tavrin
