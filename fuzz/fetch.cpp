// A file from the panel. Byte 0: which name; then replies.
#include "fuzz/fenced_folder.h"
#include "fuzz/fuzzed_panel.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FencedFolder folder;
    folder.Clear();
    FuzzInput input(data, size);
    const char16_t* const names[] = {u"p\\f", u"p/file", u"sub", u"p\\..", u"new"};
    const unsigned which = input.Byte() % 5U;
    FuzzedPanel panel(input);
    const int result = panel.link.CmdUP(names[which], folder.Text().c_str(), 0);
    Require(result == 0 || which < 2 || which == 4, "a folder is not replaced by a file");
    Require(which == 0 && result == 1 ? true : folder.Read("f") == "old",
            "the old file stays until the new one is whole");
    folder.Check();
    return 0;
}
