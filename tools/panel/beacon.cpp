#include "tools/panel/beacon.h"

#include <array>
#include <cstdio>

namespace tavrin {

std::string DescriptorText(const Identity& identity) {
    std::array<char, 16> version{};
    std::snprintf(version.data(), version.size(), "_%04d", identity.version);
    return identity.project + "_" + identity.cpu + version.data();
}

Bytes MakeBeacon(std::string_view descriptor) {
    std::string text = "Is there anybody ?";
    text += descriptor;
    return {text.begin(), text.end()};
}

}  // namespace tavrin
