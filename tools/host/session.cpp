#include "tools/host/session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/text.h"

namespace host {
namespace {

constexpr auto kBusyPoll = std::chrono::milliseconds(2);
constexpr auto kBeaconPoll = std::chrono::milliseconds(5);
constexpr auto kCancelPatience = std::chrono::milliseconds(500);
constexpr int32_t kMaxUnits = 1024;
constexpr size_t kMaxText = 255;
constexpr int32_t kFirstEntries = 10'000;
constexpr int32_t kMaxEntries = 640'000;  // 177 MB; no panel folder comes near it

std::string Line(const Unit& unit) {
    return "\n  " + unit.address + "  " + Harmless(unit.project, true);
}

}  // namespace

Session::Session(const Options& options, Interrupt& interrupt)
    : options_(options), interrupt_(interrupt) {
}

Session::~Session() {
    interrupt_.SetAction({});
    if (module_) {
        table().Stop();
    }
}

void Session::Listen() {
    module_.emplace(options_.module);
    const std::string taken = TakenPorts();
    if (!taken.empty()) {
        throw Failure(ExitCode::NoLink, "the link cannot run: " + taken);
    }
    if (table().Start(options_.attempts, options_.timeoutMs, options_.direct ? 0 : 1) == 0) {
        throw Failure(ExitCode::NoLink, "the link cannot run: its threads cannot be started");
    }
}

void Session::Connect() {
    Listen();
    if (options_.choose) {
        Choose();
    } else if (!options_.panel.empty()) {
        WaitForPanel();
    } else {
        TakeOnlyPanel();
    }
}

void Session::WaitForPanel() {
    const std::u16string address = ForTable(options_.panel);
    const auto deadline = InSeconds(options_.WaitForPanel());
    while (table().UseUnit(address.c_str()) == 0) {
        if (interrupt_.WaitUntil(Clock::now() + kBeaconPoll)) {
            throw Failure(ExitCode::Cancelled, "cancelled");
        }
        if (Clock::now() >= deadline) {
            std::string text = Format("no beacon of %s in %.3g s; %s %s", options_.panel.c_str(),
                                      options_.WaitForPanel(), options_.panel.c_str(),
                                      NetworkOf(options_.panel).c_str());
            const auto heard = Heard();
            text += heard.empty() ? "\nno other panel was heard" : "\nheard:";
            for (const Unit& unit : heard) {
                text += Line(unit);
            }
            throw Failure(ExitCode::NoPanel, text);
        }
    }
}

void Session::HearAll() {
    if (interrupt_.WaitUntil(InSeconds(options_.WaitForAll()))) {
        throw Failure(ExitCode::Cancelled, "cancelled");
    }
}

void Session::TakeOnlyPanel() {
    HearAll();
    const auto heard = Heard();
    if (heard.empty()) {
        throw Failure(ExitCode::NoPanel, NothingHeard(options_.WaitForAll()));
    }
    if (heard.size() > 1) {
        std::string text = "several panels were heard; name one with --panel ADDRESS:";
        for (const Unit& unit : heard) {
            text += Line(unit);
        }
        throw Failure(ExitCode::NoPanel, text);
    }
    if (table().UseUnit(ForTable(heard.front().address).c_str()) == 0) {
        throw Failure(ExitCode::NoPanel, heard.front().address + " fell silent");
    }
}

void Session::Choose() {
    // The dialog lists what was heard when it opens.
    HearAll();
    // The dialog runs on this thread and knows no cancel.
    interrupt_.SetExitAtOnce(true);
    const bool chosen = table().SelectTarget(0) != 0;
    interrupt_.SetExitAtOnce(false);
    if (!chosen) {
        const bool display = secure_getenv("DISPLAY") != nullptr ||
                             secure_getenv("WAYLAND_DISPLAY") != nullptr ||
                             secure_getenv("QT_QPA_PLATFORM") != nullptr;
        throw Failure(ExitCode::NoPanel,
                      display
                          ? "no panel was chosen: the dialog was closed, or could not be opened "
                            "(does the display answer, is the window backend beside the module?)"
                          : "no panel was chosen: there is no display (DISPLAY and "
                            "WAYLAND_DISPLAY are not set); use --panel ADDRESS");
    }
}

std::vector<Unit> Session::Heard() {
    std::vector<BrenholtUnitRow> rows(kMaxUnits);
    rows.resize(
        static_cast<size_t>(std::clamp(table().GetUnits(kMaxUnits, rows.data()), 0, kMaxUnits)));
    std::vector<Unit> units;
    units.reserve(rows.size());
    for (const BrenholtUnitRow& row : rows) {
        units.push_back({row.szIp, row.szProject});
    }
    return units;
}

std::vector<Unit> Session::Units() {
    std::vector<Unit> units;
    for (Unit& unit : Heard()) {
        if (table().UseUnit(ForTable(unit.address).c_str()) != 0) {
            unit.cpu = table().GetTargetCpu();
            unit.version = table().GetTargetVersion();
            units.push_back(std::move(unit));
        }
    }
    return units;
}

bool Session::IsHeard(const std::string& address) {
    const auto heard = Heard();
    return std::any_of(heard.begin(), heard.end(),
                       [&](const Unit& unit) { return unit.address == address; });
}

Unit Session::Target() {
    Unit target{
        ToBytes(table().GetTargetIp()), {}, table().GetTargetCpu(), table().GetTargetVersion()};
    for (const Unit& unit : Heard()) {
        if (unit.address == target.address) {
            target.project = unit.project;
        }
    }
    return target;
}

int32_t Session::Run(const std::function<int32_t()>& slot, const std::function<void()>& tick) {
    const BrenholtTable& link = table();
    interrupt_.SetAction([&link] { link.Cancel(); });
    int32_t result = slot();
    if (!options_.direct) {
        auto raisedAt = Clock::now();
        while (link.IsBusy() != 0) {
            std::this_thread::sleep_for(kBusyPoll);
            if (tick) {
                tick();
            }
            if (!interrupt_.raised()) {
                raisedAt = Clock::now();
            } else if (Clock::now() - raisedAt > kCancelPatience) {
                link.Stop();  // a folder walk outlives a cancel, but not this
            }
        }
        result = link.GetResult();
    }
    interrupt_.SetAction({});
    if (interrupt_.raised()) {
        throw Failure(ExitCode::Cancelled, "cancelled");
    }
    return result;
}

bool Session::Answers() {
    return Run([this] { return table().CmdVS(nullptr, nullptr, nullptr); }) != 0;
}

std::vector<PanelDirEntry> Session::ListOnce(const std::u16string& folder) {
    std::vector<PanelDirEntry> entries;
    for (int32_t room = kFirstEntries; room <= kMaxEntries; room *= 8) {
        entries.resize(static_cast<size_t>(room));
        const int32_t count =
            Run([&] { return table().CmdDR(folder.c_str(), room, entries.data()); });
        entries.resize(static_cast<size_t>(std::clamp(count, 0, room)));
        if (count < room) {
            break;
        }
    }
    return entries;
}

Listing Session::List(const std::u16string& folder) {
    Listing listing{ListOnce(folder), {}};
    if (!listing.entries.empty()) {
        return listing;
    }
    if (!Answers()) {
        listing.trouble = Silence(*this);
        return listing;
    }
    const std::u16string path = CleanPanelPath(folder);
    if (path.empty()) {
        return listing;
    }
    const std::string name = ToBytes(LastComponent(path));
    const auto siblings = ListOnce(path.substr(0, path.size() - LastComponent(path).size()));
    const auto self =
        std::find_if(siblings.begin(), siblings.end(),
                     [&](const PanelDirEntry& entry) { return name == entry.szName; });
    if (self == siblings.end()) {
        listing.trouble = "the panel lists no such folder";
    } else if ((self->dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) == 0) {
        listing.trouble = "it is a file on the panel";
    }
    return listing;
}

std::u16string PanelText(const std::string& bytes) {
    if (bytes.size() > kMaxText) {
        throw Failure(ExitCode::Failed,
                      Format("\"%s\" has %zu bytes; a command to the panel carries %zu at most",
                             bytes.c_str(), bytes.size(), kMaxText));
    }
    return ForTable(bytes);
}

std::u16string CleanPanelPath(std::u16string path) {
    std::replace(path.begin(), path.end(), u'/', u'\\');
    path.erase(path.find_last_not_of(u'\\') + 1);
    return path;
}

std::u16string LastComponent(const std::u16string& path) {
    return path.substr(path.rfind(u'\\') + 1);
}

std::u16string JoinPanelPath(const std::u16string& folder, const std::u16string& name) {
    return CleanPanelPath(folder) + u'\\' + name;
}

}  // namespace host
