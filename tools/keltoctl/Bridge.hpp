#pragma once

#include "tools/keltoctl/Library.hpp"

namespace kelto::ctl {

/// The shared library through its four C functions. While an exchange is under way it runs GLib's
/// default main context, out of which the library answers; so it belongs to the main thread.
class Bridge final : public Library {
public:
    [[nodiscard]] std::optional<std::string> groupPath() override;
    [[nodiscard]] bool cloudAvailable() override;
    [[nodiscard]] std::string exchange(std::string_view request) override;
};

}  // namespace kelto::ctl
