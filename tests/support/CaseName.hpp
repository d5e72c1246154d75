#pragma once

#include <string>

#include <gtest/gtest.h>

namespace kelto {

/// The name of a test of a table: the case's own `name`.
template <typename Case>
[[nodiscard]] std::string caseName(const testing::TestParamInfo<Case>& info) {
    return std::string(info.param.name);
}

}  // namespace kelto
