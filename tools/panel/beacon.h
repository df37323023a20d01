// The beacon datagram:  0  "Is there anybody "   17  '?'   18  descriptor
#ifndef BRENHOLT_TOOLS_PANEL_BEACON_H
#define BRENHOLT_TOOLS_PANEL_BEACON_H

#include <string>
#include <string_view>

#include "tools/panel/panel.h"
#include "tools/panel/wire.h"

namespace tavrin {

// "Line1_ARM_0102"
std::string DescriptorText(const Identity& identity);
Bytes MakeBeacon(std::string_view descriptor);

}  // namespace tavrin

#endif
