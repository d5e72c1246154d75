#include "tools/keltoctl/CommandDescription.hpp"

#include <CLI/CLI.hpp>

namespace kelto::ctl {

namespace {

/// The words between the braces of a validator's "{note,quote}".
std::vector<std::string> choicesIn(const std::string& text) {
    const std::size_t begin = text.find('{');
    const std::size_t end = text.find('}', begin);
    if (begin == std::string::npos || end == std::string::npos) return {};
    return CLI::detail::split(text.substr(begin + 1, end - begin - 1), ',');
}

ArgumentDescription describe(const CLI::Option& option) {
    ArgumentDescription argument;
    for (const std::string& name : option.get_snames()) argument.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) argument.names.push_back("--" + name);
    argument.text = option.get_description();
    argument.isRequired = option.get_required();
    if (option.get_items_expected_max() == 0) return argument;
    const std::string type = option.get_type_name();
    argument.choices = choicesIn(type);
    argument.value = option.nonpositional() ? type.substr(0, type.find(':')) : option.get_name();
    argument.isRepeatable = option.get_items_expected_max() > 1;
    return argument;
}

void addCommands(const CLI::App& app,
                 const std::vector<std::string>& above,
                 std::vector<CommandDescription>& commands) {
    for (const CLI::App* subcommand : app.get_subcommands({})) {
        CommandDescription command;
        command.words = above;
        command.words.push_back(subcommand->get_name());
        command.text = subcommand->get_description();
        command.details = subcommand->get_footer();
        for (const CLI::Option* option : subcommand->get_options()) {
            if (option == subcommand->get_help_ptr()) continue;
            (option->nonpositional() ? command.options : command.arguments)
                .push_back(describe(*option));
        }
        for (const CLI::App* below : subcommand->get_subcommands({})) {
            command.subcommands.push_back(below->get_name());
        }
        const std::vector<std::string> words = command.words;
        commands.push_back(std::move(command));
        addCommands(*subcommand, words, commands);
    }
}

}  // namespace

std::string CommandDescription::name() const {
    return CLI::detail::join(words, " ");
}

std::vector<const CommandDescription*> ToolDescription::withWords(std::size_t count) const {
    std::vector<const CommandDescription*> found;
    for (const CommandDescription& command : commands) {
        if (command.words.size() == count) found.push_back(&command);
    }
    return found;
}

ToolDescription describe(const CLI::App& app, const std::string& version) {
    ToolDescription tool;
    tool.version = version;
    for (const CLI::Option* option : app.get_options()) tool.options.push_back(describe(*option));
    addCommands(app, {}, tool.commands);
    return tool;
}

}  // namespace kelto::ctl
