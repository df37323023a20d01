#include "tools/host/unit_output.h"

#include "tools/host/text.h"

namespace host {

Json UnitJson(const Unit& unit) {
    Json object;
    object["address"] = unit.address;
    PutName(object, "project", unit.project);
    const char* processor = ProcessorName(unit.cpu);
    object["processor"] = processor == nullptr ? Json() : Json(processor);
    object["version"] = VersionText(unit.version);
    return object;
}

std::string UnitLine(const Unit& unit) {
    const char* processor = ProcessorName(unit.cpu);
    return Format("%-15s  %-3s  %5s  %s", unit.address.c_str(),
                  processor == nullptr ? "?" : processor, VersionText(unit.version).c_str(),
                  Shown(unit.project).c_str());
}

void PrintUnit(Session& session, const Unit& unit) {
    if (session.options().json) {
        PrintJson(UnitJson(unit));
    } else {
        PrintLine(UnitLine(unit));
    }
}

}  // namespace host
