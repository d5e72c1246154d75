#include <gtest/gtest.h>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {
namespace {

TEST(FatalErrorDeathTest, NamesTheReasonAndThePlaceOfTheCaller) {
    EXPECT_DEATH(fatalError("The moon is missing"),
                 "Fatal error: The moon is missing \\(.*FatalErrorTest\\.cpp:[0-9]+\\)\n");
}

TEST(FatalErrorDeathTest, NamesAPlaceThatTheCallerGives) {
    EXPECT_DEATH(fatalError("The moon is missing", "kelto/sky", 7),
                 "Fatal error: The moon is missing \\(kelto/sky:7\\)\n");
}

}  // namespace
}  // namespace kelto
