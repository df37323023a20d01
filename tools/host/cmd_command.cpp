#include <array>
#include <memory>
#include <string_view>

#include "tools/host/commands.h"
#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {
namespace {

struct CommandArguments {
    std::string name;
    std::string text;
};

using Slot = int32_t (*BrenholtTable::*)(const char16_t*);

struct TextCommand {
    std::string_view name;
    Slot slot;
};

constexpr std::array<TextCommand, 6> kTextCommands = {{{"EX", &BrenholtTable::CmdEX},
                                                       {"CL", &BrenholtTable::CmdCL},
                                                       {"RM", &BrenholtTable::CmdRM},
                                                       {"MD", &BrenholtTable::CmdMD},
                                                       {"FF", &BrenholtTable::CmdFF},
                                                       {"FD", &BrenholtTable::CmdFD}}};

int32_t Send(Session& session, const std::string& name, const std::u16string& text) {
    for (const TextCommand& command : kTextCommands) {
        if (command.name == name) {
            return session.Run([&] { return (session.table().*command.slot)(text.c_str()); });
        }
    }
    return session.Run([&] { return session.table().CmdTM(); });
}

void RunCommand(Session& session, const CommandArguments& args) {
    const std::u16string text = PanelText(args.text);
    session.Connect();
    const auto start = Clock::now();
    const bool ok = Send(session, args.name, text) != 0;
    if (session.options().json) {
        Json object{{"command", args.name}};
        PutName(object, "text", args.text);
        object["ok"] = ok;
        object["seconds"] = SecondsSince(start);
        PrintJson(object);
    }
    if (!ok) {
        throw Failure(ExitCode::Failed, args.name + " failed: " + PanelState(session));
    }
    Say(Format("%s done by %s in %.0f ms", args.name.c_str(), session.Target().address.c_str(),
               SecondsSince(start) * 1000));
}

}  // namespace

Action DefineCommand(CLI::App& app) {
    auto args = std::make_shared<CommandArguments>();
    app.add_option(
           "NAME", args->name,
           "What to send; TM asks for a sign of life, the others mean what the panel makes of them")
        ->required()
        ->transform(CLI::IsMember({"TM", "EX", "CL", "RM", "MD", "FF", "FD"}, CLI::ignore_case));
    app.add_option("TEXT", args->text, "Text that goes with the command, as it is");
    app.callback([args] {
        if (args->name == "TM" && !args->text.empty()) {
            throw CLI::ValidationError("text", "TM takes no text");
        }
    });
    return [args](Session& session) { RunCommand(session, *args); };
}

}  // namespace host
