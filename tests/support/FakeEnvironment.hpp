#pragma once

#include "kelto/platform/ProcessEnvironment.hpp"

namespace kelto {

class FakeEnvironment final : public ProcessEnvironment {
public:
    std::map<std::string, std::string> values;

    [[nodiscard]] std::map<std::string, std::string> variables() override { return values; }
};

}  // namespace kelto
