#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/HostLibrary.hpp"

namespace kelto {
namespace {

HostProcess::Options leaving(const HostLibrary& library,
                             const std::vector<std::string>& arguments) {
    HostProcess::Options options = library.process(arguments);
    options.program = KELTO_LEAVING_HOST;
    return options;
}

TEST(EndOfAProcess, LeavesExchangesOnOtherThreadsAloneUntilTheVeryEnd) {
    const HostLibrary library;
    HostProcess host(leaving(library, {library.exchangeFolder()}));
    EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
}

TEST(EndOfAProcess, MayComeInACallbackWhileAnotherThreadCallsIn) {
    const HostLibrary library;
    HostProcess host(leaving(library, {library.exchangeFolder(), "callback"}));
    EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
}

}  // namespace
}  // namespace kelto
