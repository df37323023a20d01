// The subcommands, each in a file of its own: cmd_NAME.cpp.
#ifndef BRENHOLT_TOOLS_HOST_COMMANDS_H
#define BRENHOLT_TOOLS_HOST_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace host {

class Session;

// What a subcommand does once the command line is read. It ends with success by returning, and
// otherwise by throwing Failure.
using Action = std::function<void(Session&)>;

// Each adds its own arguments to `app`; the action reads them later.
Action DefineDiscover(CLI::App& app);
Action DefineChoose(CLI::App& app);
Action DefineIdentify(CLI::App& app);
Action DefineList(CLI::App& app);
Action DefineGet(CLI::App& app);
Action DefinePut(CLI::App& app);
Action DefineSendBlock(CLI::App& app);
Action DefineCommand(CLI::App& app);

// `get --recursive`: copies the panel folder `remote` into the host folder `local`, with `update`
// only the files whose size or time differ. Prints the summary; true when all that was listed is
// there.
bool GetFolder(Session& session, const std::string& remote, const std::string& local, bool update);

}  // namespace host

#endif
