#pragma once

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace kelto {

/// How long a test of long-running behaviour runs: short by default, as long as is wanted where an
/// environment variable says so (./dev soak).
inline int longRun(const char* variable, int byDefault) {
    const char* const text = std::getenv(variable);
    if (text == nullptr) return byDefault;
    const std::string_view digits = text;
    int value = byDefault;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

}  // namespace kelto
