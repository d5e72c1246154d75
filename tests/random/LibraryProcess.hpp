#pragma once

#include <memory>
#include <optional>
#include <string>

#include "kelto/AppleBridge/AppleStore.hpp"
#include "kelto/AppleBridge/RequestIntake.hpp"
#include "kelto/foundation/Task.hpp"
#include "tests/support/FakePlatform.hpp"

namespace kelto::history {

/// One process that has the library loaded. Several may have the same store open.
class LibraryProcess {
public:
    /// The platform is borrowed.
    explicit LibraryProcess(FakePlatform& platform);

    /// One exchange as the C interface would run it: the response, or the error envelope.
    [[nodiscard]] std::string exchangeText(std::string request);
    /// What the same request would do, without doing it; the folder is made anew. None where the
    /// request is refused before the merge.
    [[nodiscard]] std::optional<Rehearsal> rehearse(std::string request,
                                                    const std::string& scratchFolder);
    /// Ends, and starts anew on the same files.
    void restart();

private:
    DetachedTask rehearse(std::string request,
                          std::string scratchFolder,
                          std::optional<Rehearsal>& rehearsal);
    DetachedTask answer(std::string request, std::shared_ptr<std::optional<std::string>> text);

    FakePlatform& platform_;
    std::unique_ptr<RequestIntake> intake_;
    std::unique_ptr<AppleStore> store_;
};

}  // namespace kelto::history
