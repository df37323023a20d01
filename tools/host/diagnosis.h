// What can be found out when something does not work. The module's table gives no reasons.
#ifndef BRENHOLT_TOOLS_HOST_DIAGNOSIS_H
#define BRENHOLT_TOOLS_HOST_DIAGNOSIS_H

#include <cstdint>
#include <string>

namespace host {

class Session;

// What is known of a target that does not answer: whether its beacons are heard, whether it is on a
// network of this host.
std::string Silence(Session& session);

// Why the target may have failed a command. It asks the panel whether it answers at all, which
// takes up to attempts x timeout.
std::string PanelState(Session& session);

// Why files cannot be put into `folder`; empty when they can.
std::string FolderTrouble(const std::string& folder);

// Why the link cannot read `file` as a whole; empty when it can, and then `size` is set.
std::string FileTrouble(const std::string& file, uint64_t& size);

}  // namespace host

#endif
