// The file of the user's list.
#include <unistd.h>

#include "fuzz/input.h"
#include "link/tv_udp.h"
#include "tests/support/scratch_folder.h"

using namespace brenholt;

namespace {

std::vector<std::u16string> Listed(const CTvUdp& link) {
    std::vector<std::u16string> addresses;
    for (const auto& unit : link.m_listUserUnits) {
        addresses.push_back(unit->m_strIp);
    }
    return addresses;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFolder folder;
    static const int entered = chdir(folder.Path().c_str());
    Require(entered == 0, "the scratch folder is there");
    const std::string content(reinterpret_cast<const char*>(data), size);
    folder.Write("UserTavrinIp.ipc", content);
    CTvUdp link;
    Require(link.LoadUserUnits() == 1, "any file can be read");
    Require(folder.Read("UserTavrinIp.ipc") == content, "a load leaves the file alone");
    const auto listed = Listed(link);
    if (link.SaveUserUnits() != 0) {
        Require(link.LoadUserUnits() == 1 && Listed(link) == listed, "what was saved comes back");
    }
    return 0;
}
