#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/persistence/StoreFinding.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

/// A small library, and the means to damage it past all rules and to look at what is found.
class DamagedStore : public testing::Test {
protected:
    /// Two projects, one in the other, a tag, "Plan" with a small payload, and "Film" with a large
    /// one, which lies in a file.
    void fill();
    void execute(const std::string& sql) const;
    [[nodiscard]] StoreReport inspect();
    /// The names of the kinds that were found, in their order.
    [[nodiscard]] static std::vector<std::string_view> kinds(const StoreReport& report);
    [[nodiscard]] std::string inExternalFolder(std::string_view name) const;
    [[nodiscard]] std::string largeFile() const;
    [[nodiscard]] std::string lostAndFound(std::string_view name = "") const;

    LibraryStore library;
    const std::string large = std::string(300'000, 'L');
    const std::string small = std::string(300, 's');
};

}  // namespace kelto
