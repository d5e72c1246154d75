#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/model/ThingMetadata.hpp"
#include "tests/fuzz/FuzzTarget.hpp"

namespace kelto {

void fuzzMetadata(std::string_view input) {
    const ThingMetadata metadata = ThingMetadata::fromJson(input);
    const std::string json = metadata.json();
    require(JsonValue::parse(json).object() != nullptr, "metadata is written as an object");
    require(ThingMetadata::fromJson(json) == metadata, "what is written reads back equal");
    if (metadata == ThingMetadata{}) return;
    // Only a well-formed object can have told anything.
    const JsonValue document = JsonValue::parse(input);
    require(!metadata.author || *metadata.author == *document.member("author")->string(),
            "a text is the document's");
    require(!metadata.stars || metadata.stars == document.member("stars")->number()->integer(),
            "a number is the document's");

    // Fields that somebody else has set may hold anything.
    ThingMetadata spoiled = metadata;
    spoiled.author = std::string(input);
    require(ThingMetadata::fromJson(spoiled.json()).author == repairedUtf8(input),
            "an ill-formed text does not take the others with it");
}

}  // namespace kelto
