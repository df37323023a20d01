#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "tools/host/commands.h"
#include "tools/host/failure.h"
#include "tools/host/networks.h"
#include "tools/host/output.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/unit_output.h"

namespace host {
namespace {

constexpr auto kLook = std::chrono::milliseconds(100);

std::vector<Unit> Wanted(Session& session) {
    auto units = session.Units();
    const std::string& panel = session.options().panel;
    std::erase_if(units, [&](const Unit& unit) { return !panel.empty() && unit.address != panel; });
    return units;
}

bool Holds(const std::vector<Unit>& units, const Unit& unit, bool whole) {
    return std::any_of(units.begin(), units.end(), [&](const Unit& other) {
        return whole ? other == unit : other.address == unit.address;
    });
}

void PrintChange(Session& session, const char* event, const char* mark, const Unit& unit) {
    if (session.options().json) {
        Json object{{"event", event}};
        object.update(UnitJson(unit));
        PrintJson(object);
    } else {
        PrintLine(std::string(mark) + " " + UnitLine(unit));
    }
}

// Panels coming, going and changing, until `deadline`. A panel goes from the module's list when
// another one beacons and it has been silent for 5 s.
void Watch(Session& session, Clock::time_point deadline) {
    std::vector<Unit> before;
    while (Clock::now() < deadline) {
        if (session.interrupt().WaitUntil(Clock::now() + kLook)) {
            throw Failure(ExitCode::Cancelled, "");
        }
        auto now = Wanted(session);
        for (const Unit& unit : before) {
            if (!Holds(now, unit, false)) {
                PrintChange(session, "gone", "-", unit);
            }
        }
        for (const Unit& unit : now) {
            if (!Holds(before, unit, false)) {
                PrintChange(session, "come", "+", unit);
            } else if (!Holds(before, unit, true)) {
                PrintChange(session, "changed", "*", unit);
            }
        }
        before = std::move(now);
    }
}

void Discover(Session& session) {
    const Options& options = session.options();
    const double wait = options.panel.empty() ? options.WaitForAll() : options.WaitForPanel();
    const auto deadline = InSeconds(wait);
    std::vector<Unit> units;
    while (Clock::now() < deadline && (options.panel.empty() || units.empty())) {
        if (session.interrupt().WaitUntil(Clock::now() + kLook)) {
            throw Failure(ExitCode::Cancelled, "cancelled");
        }
        units = Wanted(session);
    }
    for (const Unit& unit : units) {
        PrintUnit(session, unit);
    }
    if (units.empty()) {
        throw Failure(ExitCode::NoPanel,
                      options.panel.empty()
                          ? NothingHeard(wait)
                          : Format("no beacon of %s in %.3g s; it %s", options.panel.c_str(), wait,
                                   NetworkOf(options.panel).c_str()));
    }
}

}  // namespace

Action DefineDiscover(CLI::App& app) {
    auto watch = std::make_shared<bool>(false);
    app.add_flag("--watch", *watch,
                 "Show panels coming (+), changing (*) and going (-), until Ctrl-C or for --wait");
    return [watch](Session& session) {
        session.Listen();
        if (*watch) {
            const auto& wait = session.options().wait;
            Watch(session, wait ? InSeconds(*wait) : Clock::time_point::max());
        } else {
            Discover(session);
        }
    };
}

}  // namespace host
