#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>

#include <glib.h>

#include "tools/keltoctl/Bridge.hpp"
#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace {

using namespace kelto::ctl;

int run(const Command& command, HostOptions options) {
    try {
        Bridge bridge;
        Host host(bridge, options);
        return command(host);
    } catch (const WrongUsage& error) {
        Host::complain(error.what());
        return exitStatus::wrongUsage;
    } catch (const std::exception& error) {
        // Refusals and the foundation's errors are sentences; anything else is a rare full memory.
        Host::complain(error.what());
        return exitStatus::refused;
    }
}

std::string usageSentence(const CLI::App* app, const CLI::Error& error) {
    const std::vector<std::string> unknown = app->remaining(true);
    const bool lacksCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    const std::string what = lacksCommand && app->get_subcommands().empty() && !unknown.empty()
                                 ? "“" + unknown.front() + "” is not a command"
                                 : error.what();
    return "keltoctl: " + what + " (keltoctl --help shows the commands).\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    // GLib writes debug messages to the standard output, which belongs to the answers.
    g_log_writer_default_set_use_stderr(TRUE);
    CLI::App app("Works with a Kelto library from the command line.", "keltoctl");
    app.set_version_flag("--version", KELTOCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.failure_message(&usageSentence);
    HostOptions options;
    app.add_flag("--json", options.json, "Print one JSON document instead of text");
    app.add_flag("--no-refresh",
                 options.noRefresh,
                 "Work on the last answer without asking for the library's present state");

    Command command;
    addFolderCommands(app, command);
    addReadingCommands(app, command);
    addAddingCommands(app, command);
    addEditingCommands(app, command);
    addTrashCommands(app, command);
    addExchangeCommands(app, command);
    addDoctorCommand(app, command);
    addBackupCommands(app, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitStatus::done : exitStatus::wrongUsage;
    }
    const int status = run(command, options);
    if (std::fflush(stdout) != 0 && status == exitStatus::done) {
        Host::complain("cannot write to standard output; is the disk full?");
        return exitStatus::refused;
    }
    return status;
}
