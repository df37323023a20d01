#include "tools/host/transfer.h"

#include "tools/host/output.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {

Transferred Transfer(Session& session, const std::string& note,
                     const std::function<int32_t()>& slot) {
    Progress progress;
    const auto start = Clock::now();
    const int32_t result = session.Run(
        slot, [&] { progress.Show(Format("%s, %.0f s", note.c_str(), SecondsSince(start))); });
    return {result != 0, SecondsSince(start)};
}

}  // namespace host
