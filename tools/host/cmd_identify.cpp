#include <array>
#include <cstdint>

#include "tools/host/commands.h"
#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/unit_output.h"

namespace host {
namespace {

void Identify(Session& session) {
    session.Connect();
    const Unit target = session.Target();
    std::array<uint16_t, 3> words{};
    if (session.Run([&] { return session.table().CmdVS(&words[0], &words[1], &words[2]); }) == 0) {
        const bool alive = session.Run([&] { return session.table().CmdTM(); }) != 0;
        throw Failure(
            ExitCode::Failed,
            "identify failed: " +
                (alive ? target.address + " shows signs of life but gives no version words"
                       : Silence(session)));
    }
    if (session.options().json) {
        Json object = UnitJson(target);
        object["words"] = words;
        PrintJson(object);
    } else {
        PrintLine(UnitLine(target) + Format("  %04X %04X %04X", unsigned{words[0]},
                                            unsigned{words[1]}, unsigned{words[2]}));
    }
}

}  // namespace

Action DefineIdentify(CLI::App& /*app*/) {
    return Identify;
}

}  // namespace host
