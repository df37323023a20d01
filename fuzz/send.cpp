// A file or a block of memory to the panel. Byte 0: its length, in hundreds of bytes, and in the
// lowest bit whether it is a block; then replies.
#include "fuzz/fuzzed_panel.h"
#include "tests/support/scratch_folder.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFolder folder;
    FuzzInput input(data, size);
    const uint8_t start = input.Byte();
    const bool isBlock = start % 2 != 0;
    const std::string content(100U * (start / 2U) % 6000U, 'c');
    FuzzedPanel panel(input);
    int result = 0;
    if (isBlock) {
        result = panel.link.CmdML(reinterpret_cast<const uint8_t*>(content.data()),
                                  static_cast<int>(content.size()), u"text", 0);
    } else {
        folder.Write("f", content);
        result = panel.link.CmdDL(folder.Text(u"f").c_str(), u"remote\\f", 0);
        Require(result == 0 || !content.empty(), "an empty file is not sent");
    }
    Require(result == 0 || panel.requests * kMaxDatagram >= content.size(),
            "each part of what was sent has gone out");
    return 0;
}
