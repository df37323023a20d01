// One file or block on its way.
#ifndef BRENHOLT_TOOLS_HOST_TRANSFER_H
#define BRENHOLT_TOOLS_HOST_TRANSFER_H

#include <cstdint>
#include <functional>
#include <string>

namespace host {

class Session;

struct Transferred {
    bool ok = false;
    double seconds = 0;
};

// Runs the slot, with `note` and the time so far as its progress: the table reports nothing else.
Transferred Transfer(Session& session, const std::string& note,
                     const std::function<int32_t()>& slot);

}  // namespace host

#endif
