#include <algorithm>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Suggestion.hpp"

namespace kelto::ctl {

CLI::Validator oneOf(const std::vector<std::string>& choices) {
    // The braces tell the choices to whoever describes the commands.
    return CLI::Validator(
        [choices](std::string& value) {
            const bool isKnown = std::find(choices.begin(), choices.end(), value) != choices.end();
            return isKnown ? std::string() : unknownChoiceClause(value, choices);
        },
        "{" + CLI::detail::join(choices, ",") + "}");
}

}  // namespace kelto::ctl
