#include "tools/host/commands.h"
#include "tools/host/session.h"
#include "tools/host/unit_output.h"

namespace host {

Action DefineChoose(CLI::App& /*app*/) {
    return [](Session& session) {
        session.Listen();
        session.Choose();
        PrintUnit(session, session.Target());
    };
}

}  // namespace host
