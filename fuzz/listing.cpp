// A folder's listing. Byte 0: how many entries there is room for; then replies.
#include <cstring>
#include <vector>

#include "fuzz/fuzzed_panel.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const int room = input.Byte() % 16;
    FuzzedPanel panel(input);
    std::vector<PanelDirEntry> entries(static_cast<size_t>(room) + 1);
    std::memset(entries.data(), 'x', entries.size() * sizeof(PanelDirEntry));
    const int count = panel.link.CmdDR(u"folder", room, entries.data(), 0);
    Require(count >= 0 && count <= room, "no more entries than there is room for");
    for (int i = 0; i < count; ++i) {
        const char(&name)[260] = entries[static_cast<size_t>(i)].szName;
        Require(std::memchr(name, 0, 256) != nullptr, "a name ends in its field");
    }
    const auto* after = reinterpret_cast<const char*>(&entries.back());
    Require(static_cast<size_t>(std::count(after, after + sizeof(PanelDirEntry), 'x')) ==
                sizeof(PanelDirEntry),
            "nothing is written past the room");
    return 0;
}
