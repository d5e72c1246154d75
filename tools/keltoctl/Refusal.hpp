#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// A command that cannot be carried out. The text is one sentence for the person at the terminal,
/// which says what was wrong with what, and what to do.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A name as it stands in a sentence: “name”.
[[nodiscard]] inline std::string quotedName(std::string_view name) {
    return "“" + std::string(name) + "”";
}

/// A command whose options do not go together; it was not begun.
class WrongUsage : public Refusal {
public:
    using Refusal::Refusal;
};

}  // namespace kelto::ctl
