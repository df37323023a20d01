// A folder from the panel, into one that has files and links already: replies.
#include "fuzz/fenced_folder.h"
#include "fuzz/fuzzed_panel.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FencedFolder folder;
    folder.Clear();
    FuzzInput input(data, size);
    FuzzedPanel panel(input);
    panel.link.CmdGF(u"p", folder.Text().c_str(), 0);
    folder.Check();
    return 0;
}
