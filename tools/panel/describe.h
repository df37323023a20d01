// Datagrams as text for people.
#ifndef BRENHOLT_TOOLS_PANEL_DESCRIBE_H
#define BRENHOLT_TOOLS_PANEL_DESCRIBE_H

#include <string>
#include <string_view>

#include "tools/panel/log.h"

namespace tavrin {

// Bytes that are not printable ASCII become \xHH.
std::string Printable(std::string_view text);
// One line without its end: time, arrow, panel, what it says, size, faults.
std::string DescribeEntry(const LogEntry& entry);

}  // namespace tavrin

#endif
