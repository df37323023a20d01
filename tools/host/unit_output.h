// How a panel is printed.
#ifndef BRENHOLT_TOOLS_HOST_UNIT_OUTPUT_H
#define BRENHOLT_TOOLS_HOST_UNIT_OUTPUT_H

#include <string>

#include "tools/host/output.h"
#include "tools/host/session.h"

namespace host {

// {"address", "project", "processor" ("ARM", "X86" or null), "version" ("1.23")}.
Json UnitJson(const Unit& unit);

// Address, processor, version and project in columns.
std::string UnitLine(const Unit& unit);

// One of the two, as the options ask for.
void PrintUnit(Session& session, const Unit& unit);

}  // namespace host

#endif
