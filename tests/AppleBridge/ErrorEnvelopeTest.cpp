#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {
namespace {

TEST(ErrorEnvelope, HoldsTheVersionAndTheSentence) {
    EXPECT_EQ(errorEnvelope(BridgeError("Invalid bridge request.")),
              R"({"version":1,"error":"Invalid bridge request."})");
}

TEST(ErrorEnvelope, HoldsTheDescriptionOfACloudError) {
    EXPECT_EQ(errorEnvelope(PlatformError(errorDomain::cloudKit, 9)),
              R"~({"version":1,"error":"The operation couldn’t be completed. )~"
              R"~((CKErrorDomain error 9.) (CloudKit 9)"})~");
}

TEST(ErrorEnvelope, IsJsonWhateverTheSentenceHolds) {
    const std::string sentence = "a \"quote\", a \\, a\nnew line, \x01 and “…”";
    const JsonValue envelope = JsonValue::parse(errorEnvelope(BridgeError(sentence)));
    ASSERT_NE(envelope.member("error"), nullptr);
    EXPECT_EQ(*envelope.member("error"), JsonValue(sentence));
    EXPECT_EQ(envelope.object()->size(), 2U);
}

TEST(ErrorEnvelope, EscapesANulThatWouldCutTheResponse) {
    EXPECT_EQ(errorEnvelope(BridgeError(std::string("a\0b", 3))),
              R"({"version":1,"error":"a\u0000b"})");
}

TEST(ErrorEnvelope, RepairsASentenceThatIsNotUtf8) {
    EXPECT_EQ(errorEnvelope(std::runtime_error("a\xFFz")),
              "{\"version\":1,\"error\":\"a\uFFFDz\"}");
}

}  // namespace
}  // namespace kelto
