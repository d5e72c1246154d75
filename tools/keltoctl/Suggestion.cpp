#include "tools/keltoctl/Suggestion.hpp"

#include <algorithm>

#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

/// The command that these words name; nullptr for none.
const CommandDescription* findCommand(const ToolDescription& tool,
                                      const std::vector<std::string>& words) {
    for (const CommandDescription& command : tool.commands) {
        if (command.words == words) return &command;
    }
    return nullptr;
}

void addNames(const std::vector<ArgumentDescription>& options, std::vector<std::string>& names) {
    for (const ArgumentDescription& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
}

std::vector<std::string> commandsBelow(const ToolDescription& tool,
                                       const CommandDescription* command) {
    if (command != nullptr) return command->subcommands;
    const std::vector<const CommandDescription*> commands = tool.withWords(1);
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const CommandDescription* one : commands) names.push_back(one->words.front());
    return names;
}

}  // namespace

std::size_t slipsBetween(std::string_view written, std::string_view meant) {
    // Row by row over the letters of `written`; two rows back for exchanged neighbours.
    const std::size_t width = meant.size() + 1;
    std::vector<std::size_t> before(width);
    std::vector<std::size_t> last(width);
    std::vector<std::size_t> row(width);
    for (std::size_t j = 0; j < width; ++j) last[j] = j;
    for (std::size_t i = 1; i <= written.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j < width; ++j) {
            const bool isSame = written[i - 1] == meant[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            const bool isExchanged =
                i > 1 && j > 1 && written[i - 1] == meant[j - 2] && written[i - 2] == meant[j - 1];
            if (isExchanged) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[meant.size()];
}

std::optional<std::string> closest(std::string_view written,
                                   const std::vector<std::string>& candidates) {
    // One slip in three letters: more of them, and it is another word.
    constexpr std::size_t lettersPerSlip = 3;
    std::optional<std::string> best;
    std::size_t fewest = std::max<std::size_t>(1, written.size() / lettersPerSlip) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t slips = slipsBetween(written, candidate);
        if (slips >= fewest) continue;
        fewest = slips;
        best = candidate;
    }
    return best;
}

std::string unknownChoiceClause(const std::string& written,
                                const std::vector<std::string>& choices) {
    if (const auto meant = closest(written, choices)) {
        return quotedName(written) + " is not known; did you mean " + quotedName(*meant) + "?";
    }
    std::string text = quotedName(written) + " is none of ";
    for (std::size_t at = 0; at < choices.size(); ++at) text += (at == 0 ? "" : ", ") + choices[at];
    return text;
}

std::string unknownWordSentence(const ToolDescription& tool,
                                const std::vector<std::string>& words,
                                const std::string& unknown) {
    const CommandDescription* command = findCommand(tool, words);
    const std::string spoken =
        "keltoctl" + (command == nullptr ? std::string() : " " + command->name());
    const bool isOption = unknown.starts_with('-');
    std::vector<std::string> candidates;
    std::string text;
    if (isOption) {
        addNames(tool.options, candidates);
        if (command != nullptr) addNames(command->options, candidates);
        text = quotedName(unknown) + " is no option of " + quotedName(spoken);
    } else {
        candidates = commandsBelow(tool, command);
        text = candidates.empty()
                   ? quotedName(spoken) + " takes no further argument " + quotedName(unknown)
                   : quotedName(unknown) + " is not a command";
    }
    // "--kind=image": the value is no part of the name.
    if (const auto meant = closest(unknown.substr(0, unknown.find('=')), candidates)) {
        return text + "; did you mean " + quotedName(*meant) + "?";
    }
    return text + "; " + quotedName(spoken + " --help") + " shows " +
           (isOption             ? "the options."
            : candidates.empty() ? "what it takes."
                                 : "the commands.");
}

}  // namespace kelto::ctl
