// brenholt: the link to Tavrin operator panels from a command line.
#include <arpa/inet.h>

#include <array>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "tools/host/commands.h"
#include "tools/host/failure.h"
#include "tools/host/interrupt.h"
#include "tools/host/options.h"
#include "tools/host/output.h"
#include "tools/host/session.h"

namespace host {
namespace {

struct Subcommand {
    const char* name;
    Action (*define)(CLI::App& app);
    const char* help;
    const char* example;
};

constexpr std::array<Subcommand, 8> kSubcommands = {{
    {"discover", DefineDiscover, "Show the panels that announce themselves",
     "brenholt discover\n  brenholt discover --watch --json"},
    {"choose", DefineChoose, "Choose a panel in a window and show which it is", "brenholt choose"},
    {"identify", DefineIdentify, "Show what the panel is: kind, version, project, version words",
     "brenholt --panel 192.168.0.10 identify"},
    {"list", DefineList, "List a panel folder",
     "brenholt --panel 192.168.0.10 list 'project\\images'"},
    {"get", DefineGet, "Fetch files or whole folders from the panel",
     "brenholt get 'logs\\alarms.csv' 'logs\\trend.csv' fetched/\n"
     "  brenholt --panel 192.168.0.10 get --recursive --update project backup/"},
    {"put", DefinePut, "Send files to the panel",
     "brenholt put recipe.dat 'recipes\\today.dat'\n  brenholt put a.dat b.dat recipes/"},
    {"send-block", DefineSendBlock, "Send the bytes of a file as a memory block",
     "brenholt send-block splash.bin SPLASH"},
    {"command", DefineCommand, "Send one of the plain commands",
     "brenholt command TM\n  brenholt --panel 192.168.0.10 command MD 'logs\\old'"},
}};

// CLI11 takes a list element "[a,b]" apart, though it is a good file name. With this byte after
// it, which no argument contains, the element stays whole; Unguarded takes it off again.
constexpr char kGuard = '\x01';

std::string Guarded(std::string argument) {
    if (argument.starts_with('[') && argument.ends_with(']')) {
        argument += kGuard;
    }
    return argument;
}

std::string Unguarded(std::string argument) {
    if (argument.starts_with('[') && argument.ends_with(std::string("]") + kGuard)) {
        argument.pop_back();
    }
    return argument;
}

std::string CheckAddress(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1
               ? ""
               : "\"" + text + "\" is not an IPv4 address such as 192.168.0.10";
}

void DefineGlobals(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "brenholt " BRENHOLT_VERSION, "Show the version and exit");
    auto* panel = app.add_option("-p,--panel", options.panel,
                                 "Address of the panel; without it the only panel heard is meant")
                      ->type_name("ADDRESS")
                      ->check(CheckAddress);
    app.add_flag("-c,--choose", options.choose, "Choose the panel in a window")->excludes(panel);
    app.add_option("-w,--wait", options.wait,
                   "Seconds to listen for beacons: 6 for a given panel, else 2.5")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 86400.0, ""));
    app.add_option("-a,--attempts", options.attempts, "Datagrams sent per exchange at most")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000, ""));
    app.add_option("-t,--timeout", options.timeoutMs, "Wait for each reply")
        ->type_name("MILLISECONDS")
        ->capture_default_str()
        ->check(CLI::Range(1, 600'000, ""));
    auto* posted =
        app.add_flag("--posted")->description("Post commands to the module's worker (the default)");
    app.add_flag("--direct", options.direct,
                 "Run commands on the program's own thread, without progress")
        ->excludes(posted);
    app.add_flag("-j,--json", options.json, "Print JSON: one object, or one on each line");
    app.add_option(
           "--module", options.module,
           "The link module; without it brenholt.so beside this program, else the installed "
           "one")
        ->type_name("FILE");
}

void AllowAnyText(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        if (option->get_items_expected_max() > 0) {
            option->transform(Unguarded);
        }
    }
}

ExitCode Run(const std::vector<std::string>& arguments, Interrupt& interrupt) {
    Options options;
    CLI::App app("The link to Tavrin operator panels: finds them, sends commands, moves files.",
                 "brenholt");
    app.footer(
        "Examples:\n"
        "  brenholt discover\n"
        "  brenholt --panel 192.168.0.10 get --recursive project backup/\n\n"
        "Exit codes: 0 done, 1 the command failed, 2 wrong usage, 3 no such panel,\n"
        "4 the link cannot run, 130 cancelled.\n"
        "'brenholt SUBCOMMAND --help' shows the options and an example.");
    app.require_subcommand(1);
    DefineGlobals(app, options);
    std::vector<Action> actions;
    for (const Subcommand& row : kSubcommands) {
        CLI::App* sub = app.add_subcommand(row.name, row.help);
        sub->fallthrough();
        sub->footer(std::string("Example:\n  ") + row.example +
                    "\n\nThe options of 'brenholt --help' may be given here too.");
        actions.push_back(row.define(*sub));
        AllowAnyText(*sub);
    }
    AllowAnyText(app);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage;
    }
    for (size_t i = 0; i < kSubcommands.size(); ++i) {
        if (app.got_subcommand(kSubcommands[i].name)) {
            Session session(options, interrupt);
            actions[i](session);
        }
    }
    return ExitCode::Done;
}

}  // namespace
}  // namespace host

int main(int argc, char** argv) {
    using host::ExitCode;
    ExitCode code = ExitCode::Failed;
    try {
        host::Interrupt interrupt;
        std::vector<std::string> arguments;
        for (int i = 1; i < argc; ++i) {
            arguments.push_back(host::Guarded(argv[i]));
        }
        code = host::Run(arguments, interrupt);
    } catch (const host::Failure& failure) {
        code = failure.code();
        if (*failure.what() != '\0') {
            host::Say(failure.what());
        }
    } catch (const std::exception& error) {
        host::Say(error.what());
    }
    if (!host::OutputIsWhole()) {
        host::Say("not all output could be written");
        code = code == ExitCode::Done ? ExitCode::Failed : code;
    }
    return static_cast<int>(code);
}
