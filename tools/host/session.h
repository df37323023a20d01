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

// What a listing gave.
struct Listing {
    std::vector<PanelDirEntry> entries;
    std::string trouble;  // why there are no entries; empty for a folder that was listed
};

class Session {
 public:
    Session(const Options& options, Interrupt& interrupt);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Options& options() const { return options_; }
    const BrenholtTable& table() const { return module_->table(); }
    Interrupt& interrupt() { return interrupt_; }

    // Loads the module and starts the link. Throws Failure(NoLink) with the reason.
    void Listen();

    // Listens, then makes the panel that the options mean the target: the one chosen in the dialog,
    // the one with the given address, or the only one heard. Throws Failure(NoPanel) with what was
    // heard.
    void Connect();

    // Opens the search dialog. Throws Failure(NoPanel) when no target came of it.
    void Choose();

    // Panels heard, in the order of their arrival. The slots that tell kind and version are about
    // the target, so that each panel becomes it for a moment: not to be called after Connect().
    std::vector<Unit> Units();
    bool IsHeard(const std::string& address);

    Unit Target();

    // Runs one command slot to its end and gives its outcome, in both modes. `tick` is called every
    // few milliseconds in posted mode. Throws Failure(Cancelled) when the interrupt was raised.
    int32_t Run(const std::function<int32_t()>& slot, const std::function<void()>& tick = {});

    // Whether the target answers the query for its version words.
    bool Answers();

    // Lists a panel folder. As the table gives 0 entries for a failure too, an empty folder is one
    // that its parent lists, on a panel that answers.
    Listing List(const std::u16string& folder);

 private:
    // Gives every panel around the time to send a beacon.
    void HearAll();
    std::vector<Unit> Heard();
    void WaitForPanel();
    void TakeOnlyPanel();
    std::vector<PanelDirEntry> ListOnce(const std::u16string& folder);

    const Options& options_;
    Interrupt& interrupt_;
    std::optional<Module> module_;
};

// A text for the panel, as a command carries it. Throws Failure(Failed) when it is longer than the
// 255 bytes that a datagram has for it.
std::u16string PanelText(const std::string& bytes);

// A panel path with `\` as its separator and none at its end.
std::u16string CleanPanelPath(std::u16string path);

// What stands behind the last separator of a clean path.
std::u16string LastComponent(const std::u16string& path);

// Both joined with one separator, which an empty folder gets too.
std::u16string JoinPanelPath(const std::u16string& folder, const std::u16string& name);

}  // namespace host

#endif
