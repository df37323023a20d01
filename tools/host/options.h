// The options of every subcommand.
#ifndef BRENHOLT_TOOLS_HOST_OPTIONS_H
#define BRENHOLT_TOOLS_HOST_OPTIONS_H

#include <optional>
#include <string>

namespace host {

struct Options {
    std::string panel;           // dotted decimal; empty: the only panel heard
    bool choose = false;         // ask in the search dialog instead
    std::optional<double> wait;  // seconds to listen for beacons
    int attempts = 3;            // datagrams sent per exchange at most
    int timeoutMs = 1000;        // wait for each reply
    bool direct = false;         // commands run on the calling thread
    bool json = false;
    std::string module;  // path of the module; empty: look for it

    // Seconds to wait for the panel asked for. Panels beacon every few seconds at the slowest.
    double WaitForPanel() const { return wait.value_or(6.0); }
    // Seconds to listen before it is decided who is there.
    double WaitForAll() const { return wait.value_or(2.5); }
};

}  // namespace host

#endif
