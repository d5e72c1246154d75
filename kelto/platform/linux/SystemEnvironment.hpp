#pragma once

#include "kelto/platform/ProcessEnvironment.hpp"

namespace kelto {

/// The variables of the running process, as texts: ill-formed UTF-8 is repaired, and an entry
/// without "=" is left out. Any thread, but not while another one changes the environment: the C
/// library has no lock for that.
class SystemEnvironment final : public ProcessEnvironment {
public:
    [[nodiscard]] std::map<std::string, std::string> variables() override;
};

}  // namespace kelto
