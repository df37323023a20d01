#include "tools/panel/options.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tools/panel/beacon.h"
#include "tools/panel/fault_text.h"
#include "tools/panel/script.h"

namespace tavrin {
namespace {

constexpr int kUsageError = 2;

constexpr const char* kDescription =
    "Simulated Tavrin panels: they announce themselves with beacons, answer commands on UDP port\n"
    "10251 and keep their files in real folders.";

constexpr const char* kFooter =
    R"(Faults, each with a probability from 0 to 1 and some with a span (us, ms, s):
  lose-request=P   a request is lost on the way in
  silence=P[:SPAN] the panel goes silent, for good without a span
  stall=P[:SPAN]   the panel stops; its replies come when it goes on (1s)
  lose=P           a reply is lost
  double=P[:SPAN]  a reply comes twice, the twin SPAN later (0)
  delay=P[:SPAN]   a reply comes SPAN later (300ms)
  reorder=P        a reply waits until the next one has gone out
  port=P           a reply comes from another port
  cut=P            a reply is cut short
  garble=P         some bytes of a reply change
  seed=N           the same seed gives the same faults (1)

A script gives canned replies, one a line: COMMAND WHICH REPLY [after SPAN] [from-other-port]
  TM 1 silent                 the first TM gets no reply
  UP 3-5 usual after 1200ms   late, as usual otherwise
  DR * "NAK"                  every listing is refused
  VS 2- "ACK0001\x30"         the second and all later ones; \xHH is a byte

Examples:
  tavrin-panel --panel 127.0.0.2=project
  tavrin-panel --panel 127.0.0.2=a:Line1 --panel 127.0.0.3=b:Line2:X86:2.10 --log
  tavrin-panel --panel 127.0.0.2=project --fault lose=0.05,delay=0.01:300ms,seed=7
  tavrin-panel --panel 127.0.0.2=project --no-beacon --script replies.txt --pcap run.pcap

The line that begins with "ready" comes when all ports are bound.
Exit codes: 0 ended by SIGINT or SIGTERM, 1 cannot run or cannot write, 2 wrong arguments.)";

// "1.23" in hundredths.
int ParseVersion(const std::string& text) {
    const size_t dot = text.find('.');
    const std::string digits =
        text.substr(0, dot) + (dot < text.size() ? text.substr(dot + 1) : "");
    if (dot == std::string::npos || dot == 0 || dot > 2 || text.size() != dot + 3 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        throw std::invalid_argument("a version looks like 1.23: '" + text + "'");
    }
    return std::stoi(digits);
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What holds for all panels.
struct Shared {
    std::string beaconInterval = "1s";
    std::string descriptor;
    std::string host = "127.0.0.1";
    std::string faults;
    std::optional<uint64_t> seed;
    std::string script;
    bool noBeacon = false;
};

void Complete(PanelSettings& panel, const Shared& shared, uint64_t index) {
    panel.beacon.enabled = !shared.noBeacon;
    panel.beacon.interval = ParseSpan(shared.beaconInterval);
    if (!shared.descriptor.empty()) {
        panel.beacon.raw = MakeBeacon(shared.descriptor);
    }
    const auto host = ParseIp(shared.host);
    if (!host) {
        throw std::invalid_argument("not an IPv4 address: '" + shared.host + "'");
    }
    panel.beacon.host.ip = *host;
    panel.faults = ParseFaults(shared.faults);
    // Panels of one process fail independently of each other.
    panel.faults.seed = shared.seed.value_or(panel.faults.seed) + index;
    if (!shared.script.empty()) {
        panel.hook = ParseScript(ReadFile(shared.script));
    }
}

}  // namespace

PanelSettings ParsePanel(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw std::invalid_argument("expected ADDRESS=FOLDER: '" + text + "'");
    }
    PanelSettings panel;
    panel.address = text.substr(0, equals);
    std::istringstream rest(text.substr(equals + 1));
    std::vector<std::string> fields;
    for (std::string field; std::getline(rest, field, ':');) {
        fields.push_back(field);
    }
    if (fields.empty() || fields.size() > 4 || !ParseIp(panel.address)) {
        throw std::invalid_argument("expected ADDRESS=FOLDER[:PROJECT[:ARM|X86[:VERSION]]]: '" +
                                    text + "'");
    }
    panel.root = fields[0];
    if (fields.size() > 1) {
        panel.identity.project = fields[1];
    }
    if (fields.size() > 2) {
        panel.identity.cpu = fields[2];
        if (fields[2] != "ARM" && fields[2] != "X86") {
            throw std::invalid_argument("a processor is ARM or X86: '" + fields[2] + "'");
        }
    }
    if (fields.size() > 3) {
        panel.identity.version = ParseVersion(fields[3]);
    }
    return panel;
}

std::optional<Options> ParseOptions(int argc, const char* const* argv, int& exitCode) {
    Options options;
    Shared shared;
    std::vector<std::string> panels;
    std::string spin = "0us";
    CLI::App app(kDescription, "tavrin-panel");
    app.footer(kFooter);
    app.add_option("--panel", panels,
                   "A panel: its address and the folder that it stores in (repeat for more)")
        ->type_name("ADDRESS=FOLDER[:PROJECT[:ARM|X86[:VERSION]]]")
        ->required();
    app.add_option("--host", shared.host, "Where beacons go; may be a broadcast address")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_option("--beacon-interval", shared.beaconInterval, "Time between two beacons")
        ->type_name("SPAN")
        ->capture_default_str();
    app.add_option("--descriptor", shared.descriptor,
                   "Beacon text, instead of PROJECT_CPU_VERSION");
    app.add_flag("--no-beacon", shared.noBeacon, "Send no beacons");
    app.add_option("--fault", shared.faults, "Faults, separated by commas; see below")
        ->type_name("LIST");
    app.add_option("--seed", shared.seed, "Seed of the faults, instead of the list's own");
    app.add_option("--script", shared.script, "Canned replies; see below")
        ->check(CLI::ExistingFile);
    app.add_option("--spin", spin, "Look that long for a request before sleeping (benchmarks)")
        ->type_name("SPAN")
        ->capture_default_str();
    app.add_option("--pcap", options.pcap, "Write all datagrams to a capture file")
        ->type_name("FILE");
    app.add_flag("--log", options.log, "Print a line for each datagram");
    app.add_flag("--quiet", options.quiet, "Print the ready line and nothing else")
        ->excludes("--log");
    try {
        app.parse(argc, argv);
        options.spin = ParseSpan(spin);
        for (const std::string& text : panels) {
            options.panels.push_back(ParsePanel(text));
            Complete(options.panels.back(), shared, options.panels.size() - 1);
        }
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : kUsageError;
        return std::nullopt;
    } catch (const std::invalid_argument& error) {
        std::cerr << "tavrin-panel: " << error.what() << '\n';
        exitCode = kUsageError;
        return std::nullopt;
    }
    return options;
}

}  // namespace tavrin
