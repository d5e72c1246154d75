#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// The library as a host sees it: three questions. Main thread only.
class Library {
public:
    virtual ~Library() = default;
    /// The folder that holds the store; none when this build or system has no such container.
    [[nodiscard]] virtual std::optional<std::string> groupPath() = 0;
    [[nodiscard]] virtual bool cloudAvailable() = 0;
    /// Sends one request and waits for its answer, a snapshot or an error envelope.
    [[nodiscard]] virtual std::string exchange(std::string_view request) = 0;
};

}  // namespace kelto::ctl
