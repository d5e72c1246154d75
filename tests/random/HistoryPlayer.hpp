#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tests/random/HistoryGenerator.hpp"

namespace kelto::history {

/// Where the library first did something else than the model.
struct Difference {
    std::size_t step = 0;
    std::string what;
};

/// Plays a history against a library of its own, on real files in a temporary folder, and compares
/// after every exchange: the answer, key by key, and every file in the hosts' folders.
[[nodiscard]] std::optional<Difference> play(const History& history);

/// A history that is not longer, with fewer records where they do not matter, and that still goes
/// wrong.
[[nodiscard]] History shrunk(History history);

}  // namespace kelto::history
