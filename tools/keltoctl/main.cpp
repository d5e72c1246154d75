#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>

#include <glib.h>

#include "tools/keltoctl/Bridge.hpp"
#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/GeneratedFiles.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/StandardStreams.hpp"
#include "tools/keltoctl/Suggestion.hpp"
#include "tools/keltoctl/TerminalText.hpp"

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
    } catch (const std::bad_alloc&) {
        Host::complain("there is not enough memory for this; end other programs and try again.");
        return exitStatus::refused;
    } catch (const std::exception& error) {  // refusals and the foundation's errors are sentences
        Host::complain(error.what());
        return exitStatus::refused;
    }
}

/// The commands that were given, from the outermost on.
std::vector<std::string> givenCommands(const CLI::App* app) {
    std::vector<std::string> words;
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        words.push_back(app->get_name());
    }
    return words;
}

/// What the parser found wrong, in words for people.
std::string clauseOf(const CLI::Error& error) {
    std::string text = error.what();
    // "--project: 1 required NAME missing"
    const std::size_t at = text.find(": 1 required ");
    const bool lacksValue = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
    if (!lacksValue || at == std::string::npos) return text;
    return text.substr(0, at) + " wants a value behind it";
}

std::string usageSentence(const CLI::App* app, const CLI::Error& error) {
    const std::vector<std::string> words = givenCommands(app);
    const std::vector<std::string> unknown = app->remaining(true);
    const bool lacksWord = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr ||
                           dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    if (lacksWord && !unknown.empty()) {
        const ToolDescription tool = describe(*app, KELTOCTL_VERSION);
        return "keltoctl: " + terminalSafe(unknownWordSentence(tool, words, unknown.front())) +
               "\n";
    }
    std::string command = "keltoctl";
    for (const std::string& word : words) command += " " + word;
    return "keltoctl: " + terminalSafe(clauseOf(error)) + " (“" + command +
           " --help” shows what it takes).\n";
}

void addGeneralOptions(CLI::App& app, HostOptions& options) {
    app.add_flag("--json", options.json, "Print one JSON document instead of text");
    app.add_flag("--no-refresh",
                 options.noRefresh,
                 "Work on the last answer without asking for the library's present state");
    const std::map<std::string, ColourWish> wishes{{"auto", ColourWish::automatic},
                                                   {"always", ColourWish::always},
                                                   {"never", ColourWish::never}};
    std::vector<std::string> names;
    names.reserve(wishes.size());
    for (const auto& [name, wish] : wishes) names.push_back(name);
    app.add_option_function<std::string>(
           "--color",
           [&options, wishes](const std::string& name) { options.colour = wishes.at(name); },
           "Colours; auto has them on a terminal")
        ->type_name("WHEN")
        ->check(oneOf(names));
}

/// The status to end with: what could not be printed was not done.
int statusOnceWritten(int status) {
    if (isStandardOutputWritten() || status != exitStatus::done) return status;
    Host::complain("cannot write to standard output; is the disk full?");
    return exitStatus::refused;
}

int generate(std::string_view name, const ToolDescription& tool) {
    const auto text = generatedFile(name, tool);
    if (!text) {
        Host::complain("--generate makes man, bash, zsh or fish.");
        return exitStatus::wrongUsage;
    }
    std::fwrite(text->data(), 1, text->size(), stdout);
    return statusOnceWritten(exitStatus::done);
}

}  // namespace

int main(int argc, char** argv) {
    occupyClosedStandardStreams();
    std::setlocale(LC_ALL, "");
    // GLib writes debug messages to the standard output, which belongs to the answers.
    g_log_writer_default_set_use_stderr(TRUE);
    CLI::App app("Works with a Kelto library from the command line.", "keltoctl");
    app.set_version_flag("--version", KELTOCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.failure_message(&usageSentence);
    HostOptions options;
    addGeneralOptions(app, options);

    Command command;
    addFolderCommands(app, command);
    addReadingCommands(app, command);
    addAddingCommands(app, command);
    addEditingCommands(app, command);
    addTrashCommands(app, command);
    addExchangeCommands(app, command);
    addJudgingCommands(app, command);
    addDoctorCommand(app, command);
    addBackupCommands(app, command);
    addPageCommand(app, command);
    // For the build, not for people: no option of it is shown anywhere.
    if (argc == 3 && std::string_view(argv[1]) == "--generate") {
        return generate(argv[2], describe(app, KELTOCTL_VERSION));
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (app.exit(error) != 0) return exitStatus::wrongUsage;
        std::cout.flush();
        return statusOnceWritten(exitStatus::done);
    }
    return statusOnceWritten(run(command, options));
}
