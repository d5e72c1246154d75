#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/HostProcess.hpp"
#include "tests/support/RequestBuilder.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {

/// A library as hosts in processes of their own see it: a data folder, an exchange folder, and
/// programs that come and go.
class HostLibrary {
public:
    HostLibrary();

    /// A new process with these options of the host.
    [[nodiscard]] HostProcess::Options process(const std::vector<std::string>& arguments = {
                                                   "exchange"}) const;
    /// The text of a request to this library.
    [[nodiscard]] std::string text(const RequestBuilder& request = {}) const;
    /// One exchange in a process of its own that then ends well.
    Response exchangeOnce(const RequestBuilder& request = {});

    [[nodiscard]] std::string groupFolder() const { return folder_.path("data/group.app.kelto"); }
    [[nodiscard]] std::string libraryFolder() const { return groupFolder() + "/Library"; }
    [[nodiscard]] std::string exchangeFolder() const { return folder_.path("exchange"); }
    [[nodiscard]] std::string receivedFolder() const { return exchangeFolder() + "/received"; }
    /// Puts a payload file into the exchange folder; its path.
    [[nodiscard]] std::string putFile(std::string_view name, std::string_view bytes) const;
    [[nodiscard]] const TemporaryFolder& folder() const { return folder_; }

private:
    TemporaryFolder folder_;
};

}  // namespace kelto
