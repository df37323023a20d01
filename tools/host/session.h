// One run of the link: from the module's load to its stop.
#ifndef BRENHOLT_TOOLS_HOST_SESSION_H
#define BRENHOLT_TOOLS_HOST_SESSION_H

#include <brenholt/brenholt.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/host/interrupt.h"
#include "tools/host/module.h"
#include "tools/host/options.h"

namespace host {

// A panel as the table shows it. Texts are bytes in the locale's charset.
struct Unit {
    std::string address;
    std::string project;
    int32_t cpu = BRENHOLT_CPU_UNKNOWN;
    int32_t version = 0;  // hundredths

    bool operator==(const Unit&) const = default;
};

class Session {
 public:
    Session(const Options& options, Interrupt& interrupt);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Options& options() const { return m_options; }
    const BrenholtTable& table() const { return m_module->table(); }
    Interrupt& interrupt() { return m_interrupt; }

    // Loads the module and starts the link. Throws Failure(NoLink) with the reason.
    void Listen();

    // Listens, then makes the panel that the options mean the target: the one chosen in the dialog,
    // the one with the given address, or the only one heard. Throws Failure(NoPanel) with what was
    // heard.
    void Connect();

    // Opens the search dialog. Throws Failure(NoPanel) when no target came of it.
    void Choose();

    // Panels heard, in the order of their arrival. The slots that give kind and version are about
    // the target, so that each panel becomes it for a moment: not to be called after Connect().
    std::vector<Unit> Units();
    bool IsHeard(const std::string& address);

    Unit Target();

    // Runs one command slot to its end and gives its outcome, in both modes. `tick` is called every
    // few milliseconds in posted mode. Throws Failure(Cancelled) when the interrupt was raised.
    int32_t Run(const std::function<int32_t()>& slot, const std::function<void()>& tick = {});

    // Whether the target answers the query for its version words.
    bool Answers();

 private:
    // Gives every panel around the time to send a beacon.
    void HearAll();
    std::vector<Unit> Heard();
    void WaitForPanel();
    void TakeOnlyPanel();

    const Options& m_options;
    Interrupt& m_interrupt;
    std::optional<Module> m_module;
};

}  // namespace host

#endif
