#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelto {

/// Where the programs of one App Group keep their common files. May be asked from any thread.
class GroupContainer {
public:
    virtual ~GroupContainer() = default;
    /// The absolute path of the group's folder, which need not exist yet; none when there is none.
    [[nodiscard]] virtual std::optional<std::string> path(std::string_view groupId) = 0;
};

}  // namespace kelto
