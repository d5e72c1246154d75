#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/keltoctl/CommandDescription.hpp"

namespace kelto::ctl {

// Files that say what the commands are, made when the program is built.

/// The page of the manual, in roff with the man macros.
[[nodiscard]] std::string manPage(const ToolDescription& tool);
/// What the shells complete on the Tab key.
[[nodiscard]] std::string bashCompletion(const ToolDescription& tool);
[[nodiscard]] std::string zshCompletion(const ToolDescription& tool);
[[nodiscard]] std::string fishCompletion(const ToolDescription& tool);

/// The file of that name ("man", "bash", "zsh", "fish"); none for another name.
[[nodiscard]] std::optional<std::string> generatedFile(std::string_view name,
                                                       const ToolDescription& tool);

}  // namespace kelto::ctl
