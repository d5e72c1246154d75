#pragma once

#include <functional>
#include <map>

#include "kelto/platform/GroupContainer.hpp"

namespace kelto {

/// Knows the groups that the test has given a folder.
class FakeGroupContainer final : public GroupContainer {
public:
    std::map<std::string, std::string, std::less<>> folders;  ///< By group id.

    [[nodiscard]] std::optional<std::string> path(std::string_view groupId) override {
        const auto folder = folders.find(groupId);
        if (folder == folders.end()) return std::nullopt;
        return folder->second;
    }
};

}  // namespace kelto
