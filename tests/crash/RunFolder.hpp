#pragma once

#include <string>
#include <string_view>

#include "tests/support/TemporaryFolder.hpp"

namespace kelto {

/// One library and one host's exchange folder, in a temporary folder of their own. All that a
/// watched program does to files happens below world(); what the test needs besides lies beside it.
/// Kept in memory where the system has such a place: a crash is played, not waited for.
class RunFolder {
public:
    RunFolder();

    [[nodiscard]] std::string world() const { return folder_.path("world"); }
    [[nodiscard]] std::string dataHome() const { return world() + "/data"; }
    [[nodiscard]] std::string library() const { return dataHome() + "/group.app.kelto/Library"; }
    [[nodiscard]] std::string store() const { return library() + "/Kelto.store"; }
    [[nodiscard]] std::string payloads() const {
        return library() + "/.Kelto_SUPPORT/_EXTERNAL_DATA";
    }
    [[nodiscard]] std::string exchange() const { return world() + "/exchange"; }
    [[nodiscard]] std::string received() const { return exchange() + "/received"; }
    [[nodiscard]] std::string beside(std::string_view name) const { return folder_.path(name); }

    /// What a host without any item sends to this library.
    [[nodiscard]] std::string emptyRequest() const;
    /// From now on the world is a copy of that one.
    void copyFrom(const std::string& otherWorld) const;
    /// A response with "@" in the place of this world's path, so that those of two can be compared.
    [[nodiscard]] std::string withoutPaths(std::string_view response) const;

private:
    TemporaryFolder folder_;
};

}  // namespace kelto
