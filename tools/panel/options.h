// The command line of tavrin-panel.
#ifndef BRENHOLT_TOOLS_PANEL_OPTIONS_H
#define BRENHOLT_TOOLS_PANEL_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/panel/settings.h"

namespace tavrin {

struct Options {
    std::vector<PanelSettings> panels;
    Time spin{0};
    std::string pcap;  // empty: none
    bool log = false;
    bool quiet = false;
};

// Reads the command line. Nothing when the program is to end with `exitCode`: help was asked for,
// or something is wrong; the message is printed already.
std::optional<Options> ParseOptions(int argc, const char* const* argv, int& exitCode);

// Reads "ADDRESS=FOLDER[:PROJECT[:ARM|X86[:VERSION]]]"; throws std::invalid_argument.
PanelSettings ParsePanel(const std::string& text);

}  // namespace tavrin

#endif
