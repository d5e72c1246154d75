#include "kelto/platform/linux/XdgGroupContainer.hpp"

#include <map>
#include <utility>

#include "kelto/foundation/FilePath.hpp"

namespace kelto {

namespace {

using namespace std::string_view_literals;

bool isFolderName(std::string_view id) {
    return !id.empty() && id != "." && id != ".." && id.find_first_of("/\0"sv) == id.npos;
}

std::optional<std::string> absolutePath(const std::map<std::string, std::string>& variables,
                                        const char* name) {
    const auto variable = variables.find(name);
    if (variable == variables.end() || !variable->second.starts_with('/')) return std::nullopt;
    return variable->second;
}

}  // namespace

XdgGroupContainer::XdgGroupContainer(std::shared_ptr<ProcessEnvironment> environment)
    : environment_(std::move(environment)) {}

std::optional<std::string> XdgGroupContainer::path(std::string_view groupId) {
    if (!isFolderName(groupId)) return std::nullopt;
    const auto variables = environment_->variables();
    if (const auto data = absolutePath(variables, "XDG_DATA_HOME")) {
        return joinedPath(*data, groupId);
    }
    if (const auto home = absolutePath(variables, "HOME")) {
        return joinedPath(joinedPath(*home, ".local/share"), groupId);
    }
    return std::nullopt;
}

}  // namespace kelto
