#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kelto::ctl {

// The commands as the parser knows them, as plain values: what the manual page, the completions of
// the shells and the suggestions for mistyped words are made of.

struct ArgumentDescription {
    std::vector<std::string> names{};    ///< "--kind"; none for a positional argument
    std::string value{};                 ///< "FILE", "NAME"; empty for a flag
    std::vector<std::string> choices{};  ///< the only values, if there are only some
    std::string text{};                  ///< one clause
    bool isRequired = false;
    bool isRepeatable = false;

    [[nodiscard]] bool isFlag() const { return value.empty(); }
};

struct CommandDescription {
    std::vector<std::string> words{};  ///< {"add", "note"}
    std::string text{};                ///< one clause
    std::string details{};             ///< whole sentences; may be empty
    std::vector<ArgumentDescription> arguments{};
    std::vector<ArgumentDescription> options{};  ///< without those of every command
    std::vector<std::string> subcommands{};      ///< names; one of them has to follow

    /// "add note"
    [[nodiscard]] std::string name() const;
};

struct ToolDescription {
    std::string version{};
    std::vector<ArgumentDescription> options{};  ///< those of every command
    std::vector<CommandDescription> commands{};  ///< a command stands before its subcommands

    /// Those with this many words.
    [[nodiscard]] std::vector<const CommandDescription*> withWords(std::size_t count) const;
};

[[nodiscard]] ToolDescription describe(const CLI::App& app, const std::string& version);

}  // namespace kelto::ctl
