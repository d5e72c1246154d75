#pragma once

#include <CLI/CLI.hpp>

#include "tools/keltoctl/Host.hpp"

namespace kelto::ctl {

// Each adds its subcommands to `app`. The one that the user names puts itself into `chosen`, which
// outlives the parsing.

void addFolderCommands(CLI::App& app, Command& chosen);    ///< import, export
void addReadingCommands(CLI::App& app, Command& chosen);   ///< tree, list, show
void addAddingCommands(CLI::App& app, Command& chosen);    ///< add note|quote|link|file
void addEditingCommands(CLI::App& app, Command& chosen);   ///< edit, tag, move
void addTrashCommands(CLI::App& app, Command& chosen);     ///< trash, restore, delete
void addExchangeCommands(CLI::App& app, Command& chosen);  ///< exchange, status, …
void addBackupCommands(CLI::App& app, Command& chosen);    ///< backup, restore-backup
void addJudgingCommands(CLI::App& app, Command& chosen);   ///< diff, explain
void addDoctorCommand(CLI::App& app, Command& chosen);     ///< doctor
void addPageCommand(CLI::App& app, Command& chosen);       ///< page

/// The option of every command that changes something.
inline void addDryRun(CLI::App& command, bool& isOnlyTried) {
    command.add_flag("--dry-run", isOnlyTried, "Only show what would be changed");
}

/// Allows only these values.
[[nodiscard]] CLI::Validator oneOf(const std::vector<std::string>& choices);

/// The text of a request in a file; "-" is standard input.
[[nodiscard]] std::string requestText(const std::string& file);
/// Sentences and names, in a document.
[[nodiscard]] inline JsonValue textsToJson(const std::vector<std::string>& texts) {
    return JsonElements(texts.begin(), texts.end());
}
/// Prints what an exchange would do with a request. Answers the exit status.
[[nodiscard]] int explainRequest(Host& host, const std::string& request);

}  // namespace kelto::ctl
