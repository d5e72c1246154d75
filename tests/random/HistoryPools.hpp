#pragma once

#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tests/random/HostFiles.hpp"

namespace kelto::history::pools {

// Small sets of values, so that records collide and edits come back to what was there before.

/// Identifiers of projects, tags and things alike: the types share some of them.
[[nodiscard]] const std::vector<std::string>& projectIds();
[[nodiscard]] const std::vector<std::string>& tagIds();
[[nodiscard]] const std::vector<std::string>& thingIds();
/// What only looks like an identifier.
[[nodiscard]] const std::vector<JsonValue>& brokenIds();

[[nodiscard]] const std::vector<std::string>& texts();
[[nodiscard]] const std::vector<std::string>& kinds();
[[nodiscard]] const std::vector<std::string>& fileNames();
[[nodiscard]] const std::vector<std::string>& metadata();
/// Numbers as they are written in a request, some of them beyond what a field can hold.
[[nodiscard]] const std::vector<std::string>& numbers();
/// Milliseconds that can be written back as 64-bit integers.
[[nodiscard]] const std::vector<std::string>& milliseconds();
/// Steps between one version of a thing and another, in milliseconds.
[[nodiscard]] const std::vector<double>& timeSteps();
/// Values of every type but numbers and texts, for fields that expect another one.
[[nodiscard]] const std::vector<JsonValue>& strangers();
[[nodiscard]] const std::vector<Content>& contents();

/// What no record type is called.
[[nodiscard]] const std::vector<JsonValue>& unknownTypes();
/// Keys that look like known ones, and keys that the library writes but never reads.
[[nodiscard]] const std::vector<std::string>& unreadKeys();

}  // namespace kelto::history::pools
