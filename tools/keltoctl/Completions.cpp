#include <algorithm>

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/GeneratedFiles.hpp"

namespace kelto::ctl {

namespace {

bool isPath(const ArgumentDescription& argument) {
    return argument.value == "FILE" || argument.value == "PATH" || argument.value == "REQUEST" ||
           argument.value == "A" || argument.value == "B";
}

bool isFolder(const ArgumentDescription& argument) {
    return argument.value == "FOLDER";
}

std::string joined(const std::vector<std::string>& words, std::string_view between) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += between;
        text += word;
    }
    return text;
}

/// In single quotes, as all three shells read them.
std::string inQuotes(std::string_view text) {
    return "'" + replacingAll(text, "'", "'\\''") + "'";
}

std::vector<std::string> namesOf(const std::vector<ArgumentDescription>& options) {
    std::vector<std::string> names;
    for (const ArgumentDescription& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

std::vector<ArgumentDescription> together(std::vector<ArgumentDescription> some,
                                          const std::vector<ArgumentDescription>& others) {
    some.insert(some.end(), others.begin(), others.end());
    return some;
}

std::vector<std::string> namesOfCommands(const ToolDescription& tool) {
    const std::vector<const CommandDescription*> commands = tool.withWords(1);
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const CommandDescription* command : commands) {
        names.push_back(command->words.front());
    }
    return names;
}

/// A command's name as bash sees it: the words, with the command that has to follow another.
std::string caseOf(const CommandDescription& command) {
    return inQuotes(command.name());
}

/// What follows an option that takes a value; nothing for flags and free texts.
std::string bashValue(const ArgumentDescription& option) {
    if (!option.choices.empty()) {
        return "COMPREPLY=($(compgen -W '" + joined(option.choices, " ") + "' -- \"$word\"))";
    }
    if (isPath(option)) return "_keltoctl_files";
    if (isFolder(option)) return "_keltoctl_folders";
    return "COMPREPLY=()";
}

std::string bashOptionValues(const std::vector<ArgumentDescription>& options,
                             const std::string& indent) {
    std::string text;
    for (const ArgumentDescription& option : options) {
        if (option.isFlag()) continue;
        text += indent + joined(option.names, "|") + ") " + bashValue(option) + "; return ;;\n";
    }
    return text;
}

std::string bashCommand(const ToolDescription& tool, const CommandDescription& command) {
    const std::vector<ArgumentDescription> options = together(command.options, tool.options);
    std::string text = "        " + caseOf(command) + ")\n            case $previous in\n" +
                       bashOptionValues(options, "                ") + "            esac\n";
    std::string otherwise = "COMPREPLY=()";
    if (!command.subcommands.empty()) {
        otherwise =
            "COMPREPLY=($(compgen -W '" + joined(command.subcommands, " ") + "' -- \"$word\"))";
    } else if (!command.arguments.empty()) {
        otherwise = bashValue(command.arguments.front());
    }
    text += "            case $word in\n                -*) COMPREPLY=($(compgen -W '" +
            joined(namesOf(options), " ") + "' -- \"$word\")) ;;\n                *) " + otherwise +
            " ;;\n            esac ;;\n";
    return text;
}

/// One line of zsh's _arguments for an option or a positional argument.
std::string zshArgument(const ArgumentDescription& argument) {
    std::string text =
        replacingAll(replacingAll(replacingAll(argument.text, "[", "("), "]", ")"), ":", "\\:");
    std::string action = " ";
    if (!argument.choices.empty()) action = "(" + joined(argument.choices, " ") + ")";
    if (isPath(argument)) action = "_files";
    if (isFolder(argument)) action = "_files -/";
    if (argument.names.empty()) {
        return inQuotes(std::string(argument.isRepeatable ? "*" : "") +
                        (argument.isRequired || argument.isRepeatable ? ":" : "::") +
                        argument.value + ":" + action);
    }
    std::string ending = "[";
    ending.append(text).append("]");
    if (!argument.isFlag()) ending.append(":").append(argument.value).append(":").append(action);
    std::string lines;
    for (const std::string& name : argument.names) {
        std::string option = argument.isRepeatable ? "*" : "";
        option.append(name).append(ending);
        lines.append(lines.empty() ? "" : " ").append(inQuotes(option));
    }
    return lines;
}

std::string zshArguments(const std::vector<ArgumentDescription>& arguments) {
    std::string text;
    for (const ArgumentDescription& argument : arguments) {
        text += " \\\n                " + zshArgument(argument);
    }
    return text;
}

std::string zshList(const std::vector<const CommandDescription*>& commands,
                    const std::string& indent) {
    std::string text;
    for (const CommandDescription* command : commands) {
        text += indent +
                inQuotes(command->words.back() + ":" + replacingAll(command->text, ":", "\\:")) +
                "\n";
    }
    return text;
}

/// `fish` quotes with the backslash inside of single quotes.
std::string fishQuoted(std::string_view text) {
    return "'" + replacingAll(replacingAll(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string fishOption(const std::string& condition, const ArgumentDescription& option) {
    std::string text = "complete -c keltoctl -n " + fishQuoted(condition);
    for (const std::string& name : option.names) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.isFlag()) {
        text += " -r";
        if (!option.choices.empty()) text += " -f -a " + fishQuoted(joined(option.choices, " "));
        if (isPath(option)) text += " -F";
        if (isFolder(option)) text += " -f -a '(__fish_complete_directories)'";
        if (option.choices.empty() && !isPath(option) && !isFolder(option)) text += " -f";
    }
    return text + " -d " + fishQuoted(option.text) + "\n";
}

std::string fishCondition(const CommandDescription& command) {
    return "__keltoctl_is " + joined(command.words, " ");
}

}  // namespace

std::string bashCompletion(const ToolDescription& tool) {
    std::string text =
        "# Completion of keltoctl in bash. Made from the program itself; do not edit.\n"
        "_keltoctl_files() { compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < "
        "<(compgen -f -- \"$word\"); }\n"
        "_keltoctl_folders() { compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < "
        "<(compgen -d -- \"$word\"); }\n"
        "\n"
        "_keltoctl() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
        "    local command='' at\n"
        "    COMPREPLY=()\n"
        "    # The command: the words that are no options, nor their values.\n"
        "    for ((at = 1; at < COMP_CWORD; ++at)); do\n"
        "        case ${COMP_WORDS[at]} in\n";
    std::vector<std::string> withValue;
    for (const ArgumentDescription& option : tool.options) {
        if (option.isFlag()) continue;
        withValue.insert(withValue.end(), option.names.begin(), option.names.end());
    }
    if (!withValue.empty()) text += "            " + joined(withValue, "|") + ") ((++at)) ;;\n";
    text += "            -*) ;;\n";
    for (const CommandDescription* command : tool.withWords(2)) {
        text += "            " + command->words.back() +
                ") [[ $command != " + command->words.front() + " ]] || { command='" +
                command->name() + "'; break; } ;;&\n";
    }
    text +=
        "            *) [[ -n $command ]] || command=${COMP_WORDS[at]} ;;\n"
        "        esac\n"
        "    done\n"
        "    case $command in\n"
        "        '')\n            case $previous in\n" +
        bashOptionValues(tool.options, "                ") +
        "            esac\n            COMPREPLY=($(compgen -W '" +
        joined(namesOfCommands(tool), " ") + " " + joined(namesOf(tool.options), " ") +
        "' -- \"$word\")) ;;\n";
    for (const CommandDescription& command : tool.commands) text += bashCommand(tool, command);
    return text + "    esac\n}\ncomplete -F _keltoctl keltoctl\n";
}

std::string zshCompletion(const ToolDescription& tool) {
    std::string text =
        "#compdef keltoctl\n"
        "# Completion of keltoctl in zsh. Made from the program itself; do not edit.\n"
        "_keltoctl() {\n"
        "    local context state state_descr line\n"
        "    typeset -A opt_args\n"
        "    local -a commands=(\n" +
        zshList(tool.withWords(1), "        ") +
        "    )\n"
        "    _arguments -C" +
        zshArguments(tool.options) +
        " \\\n                '1:command:->command' '*::argument:->argument'\n"
        "    case $state in\n"
        "        command) _describe 'command' commands ;;\n"
        "        argument)\n"
        "            case $words[1] in\n";
    for (const CommandDescription* command : tool.withWords(1)) {
        text += "            " + command->words.front() + ")\n";
        if (command->subcommands.empty()) {
            text += "                _arguments" + zshArguments(command->options) +
                    zshArguments(tool.options) + zshArguments(command->arguments) + " ;;\n";
            continue;
        }
        std::vector<const CommandDescription*> below;
        for (const CommandDescription* candidate : tool.withWords(2)) {
            if (candidate->words.front() == command->words.front()) below.push_back(candidate);
        }
        text += "                local -a below=(\n" + zshList(below, "                    ") +
                "                )\n"
                "                if ((CURRENT == 2)); then _describe 'command' below; return; fi\n"
                "                shift words; ((--CURRENT))\n"
                "                case $words[1] in\n";
        for (const CommandDescription* one : below) {
            text += "                " + one->words.back() + ") _arguments" +
                    zshArguments(one->options) + zshArguments(tool.options) +
                    zshArguments(one->arguments) + " ;;\n";
        }
        text += "                esac ;;\n";
    }
    return text + "            esac ;;\n    esac\n}\n_keltoctl \"$@\"\n";
}

std::string fishCompletion(const ToolDescription& tool) {
    std::string text =
        "# Completion of keltoctl in fish. Made from the program itself; do not edit.\n"
        "function __keltoctl_words\n"
        "    # The words that are no options.\n"
        "    string match -v -- '-*' (commandline -opc)[2..-1]\n"
        "end\n"
        "function __keltoctl_is\n"
        "    set -l words (__keltoctl_words)\n"
        "    test (count $words) -ge (count $argv); or return 1\n"
        "    test \"$words[1..\"(count $argv)\"]\" = \"$argv\"\n"
        "end\n"
        "function __keltoctl_is_only\n"
        "    set -l words (__keltoctl_words)\n"
        "    test \"$words\" = \"$argv\"\n"
        "end\n"
        "complete -c keltoctl -f\n";
    for (const ArgumentDescription& option : tool.options) text += fishOption("true", option);
    for (const CommandDescription& command : tool.commands) {
        std::vector<std::string> above = command.words;
        above.pop_back();
        text += "complete -c keltoctl -n " +
                fishQuoted("__keltoctl_is_only " + joined(above, " ")) + " -a " +
                fishQuoted(command.words.back()) + " -d " + fishQuoted(command.text) + "\n";
        for (const ArgumentDescription& option : command.options) {
            text += fishOption(fishCondition(command), option);
        }
        for (const ArgumentDescription& argument : command.arguments) {
            const std::string start =
                "complete -c keltoctl -n " + fishQuoted(fishCondition(command));
            if (isPath(argument)) text += start + " -F\n";
            if (isFolder(argument)) text += start + " -a '(__fish_complete_directories)'\n";
        }
    }
    return text;
}

std::optional<std::string> generatedFile(std::string_view name, const ToolDescription& tool) {
    if (name == "man") return manPage(tool);
    if (name == "bash") return bashCompletion(tool);
    if (name == "zsh") return zshCompletion(tool);
    if (name == "fish") return fishCompletion(tool);
    return std::nullopt;
}

}  // namespace kelto::ctl
