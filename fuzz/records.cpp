// The records of a listing page, back to back.
#include "commands/file_record.h"
#include "fuzz/input.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RecordWalk walk({data, size});
    size_t taken = 0;
    while (const auto entry = walk.Next()) {
        taken += kRecordSize + entry->record.byNameLen;
        Require(taken <= size, "a record lies inside its area");
        Require(entry->name.size() <= entry->record.byNameLen, "a name lies inside its record");
        Require(entry->name.find('\0') == std::string_view::npos, "a name ends at its NUL");
    }
    return 0;
}
