#include "tools/host/session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "tools/host/failure.h"
#include "tools/host/networks.h"
#include "tools/host/text.h"

namespace host {
namespace {

constexpr auto kBusyPoll = std::chrono::milliseconds(2);
constexpr auto kBeaconPoll = std::chrono::milliseconds(5);
constexpr auto kCancelPatience = std::chrono::milliseconds(500);
constexpr int32_t kMaxUnits = 1024;

std::string Line(const Unit& unit) {
    return "\n  " + unit.address + "  " + Harmless(unit.project, true);
}

}  // namespace

Session::Session(const Options& options, Interrupt& interrupt)
    : m_options(options), m_interrupt(interrupt) {
}

Session::~Session() {
    m_interrupt.SetAction({});
    if (m_module) {
        table().Stop();
    }
}

void Session::Listen() {
    m_module.emplace(m_options.module);
    const std::string taken = TakenPorts();
    if (!taken.empty()) {
        throw Failure(ExitCode::NoLink, "the link cannot run: " + taken);
    }
    if (table().Start(m_options.attempts, m_options.timeoutMs, m_options.direct ? 0 : 1) == 0) {
        throw Failure(ExitCode::NoLink, "the link cannot run: its threads cannot be started");
    }
}

void Session::Connect() {
    Listen();
    if (m_options.choose) {
        Choose();
    } else if (!m_options.panel.empty()) {
        WaitForPanel();
    } else {
        TakeOnlyPanel();
    }
}

void Session::WaitForPanel() {
    const std::u16string address = ForTable(m_options.panel);
    const auto deadline = InSeconds(m_options.WaitForPanel());
    while (table().UseUnit(address.c_str()) == 0) {
        if (m_interrupt.WaitUntil(Clock::now() + kBeaconPoll)) {
            throw Failure(ExitCode::Cancelled, "cancelled");
        }
        if (Clock::now() >= deadline) {
            std::string text = Format("no beacon of %s in %.3g s; %s %s", m_options.panel.c_str(),
                                      m_options.WaitForPanel(), m_options.panel.c_str(),
                                      NetworkOf(m_options.panel).c_str());
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
    if (m_interrupt.WaitUntil(InSeconds(m_options.WaitForAll()))) {
        throw Failure(ExitCode::Cancelled, "cancelled");
    }
}

void Session::TakeOnlyPanel() {
    HearAll();
    const auto heard = Heard();
    if (heard.empty()) {
        throw Failure(ExitCode::NoPanel, NothingHeard(m_options.WaitForAll()));
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
    m_interrupt.SetExitAtOnce(true);
    const bool chosen = table().SelectTarget(0) != 0;
    m_interrupt.SetExitAtOnce(false);
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
    m_interrupt.SetAction([&link] { link.Cancel(); });
    int32_t result = slot();
    if (!m_options.direct) {
        auto raisedAt = Clock::now();
        while (link.IsBusy() != 0) {
            std::this_thread::sleep_for(kBusyPoll);
            if (tick) {
                tick();
            }
            if (!m_interrupt.raised()) {
                raisedAt = Clock::now();
            } else if (Clock::now() - raisedAt > kCancelPatience) {
                link.Stop();  // a folder walk outlives a cancel, but not this
            }
        }
        result = link.GetResult();
    }
    m_interrupt.SetAction({});
    if (m_interrupt.raised()) {
        throw Failure(ExitCode::Cancelled, "cancelled");
    }
    return result;
}

bool Session::Answers() {
    return Run([this] { return table().CmdVS(nullptr, nullptr, nullptr); }) != 0;
}

}  // namespace host
