// Faults and spans of time as text of a command line or a script.
#ifndef BRENHOLT_TOOLS_PANEL_FAULT_TEXT_H
#define BRENHOLT_TOOLS_PANEL_FAULT_TEXT_H

#include <string_view>

#include "tools/panel/fault_plan.h"

namespace tavrin {

// Reads "lose=0.05,delay=0.01:300ms,seed=7": names as FaultName gives them, a probability, and for
// silence, stall, double and delay a span with its unit (us, ms, s). Throws std::invalid_argument
// with a message for people.
FaultSettings ParseFaults(std::string_view text);
// Reads "300ms"; throws std::invalid_argument.
Time ParseSpan(std::string_view text);

}  // namespace tavrin

#endif
