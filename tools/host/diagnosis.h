// What can be found out when something does not work. The module's table gives no reasons.
#ifndef BRENHOLT_TOOLS_HOST_DIAGNOSIS_H
#define BRENHOLT_TOOLS_HOST_DIAGNOSIS_H

#include <cstdint>
#include <optional>
#include <string>

namespace host {

class Session;

// A sentence on the host's UDP ports that something else holds; empty when all are free. To be
// asked before the link starts, as it takes the same ports.
std::string TakenPorts();

// A sentence for when no panel at all beaconed for that long, with the networks they may be on.
std::string NothingHeard(double seconds);

// Whether a host with this address (dotted decimal) can be a neighbour: "is on our network lo
// (127.0.0.1/8)", or "is on none of our networks" with their list.
std::string NetworkOf(const std::string& address);

// What is known of a target that does not answer: whether it beacons, whether it can be a
// neighbour.
std::string Silence(Session& session);

// Why the target may have failed a command. It asks the panel whether it answers at all, which
// takes up to attempts x timeout.
std::string PanelState(Session& session);

// Why files cannot be put into `folder`; empty when they can.
std::string FolderTrouble(const std::string& folder);

// Why `file` cannot be read as a whole by the link; empty when it can, and then `size` is set.
std::string FileTrouble(const std::string& file, uint64_t& size);

}  // namespace host

#endif
