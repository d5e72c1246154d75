#pragma once

#include <memory>

#include "kelto/platform/GroupContainer.hpp"
#include "kelto/platform/ProcessEnvironment.hpp"

namespace kelto {

/// The group's folder among the user's data files (XDG Base Directory Specification):
/// $XDG_DATA_HOME/<group id>, else $HOME/.local/share/<group id>. A variable whose value is not an
/// absolute path counts as not set.
class XdgGroupContainer final : public GroupContainer {
public:
    explicit XdgGroupContainer(std::shared_ptr<ProcessEnvironment> environment);

    /// None, too, for an id that is not the name of one folder.
    [[nodiscard]] std::optional<std::string> path(std::string_view groupId) override;

private:
    std::shared_ptr<ProcessEnvironment> environment_;
};

}  // namespace kelto
