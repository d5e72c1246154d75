#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"

namespace kelto {

/// A readable identifier: the number in hexadecimal at the end of an otherwise fixed UUID text in
/// lower case. Larger numbers sort later.
[[nodiscard]] std::string identifier(unsigned number);

/// What a test names when one record is all that it needs.
inline const std::string firstId = identifier(1);
/// The same for the project that it is in.
inline const std::string folderId = identifier(0xF);

/// One record as a host writes it: "recordType" and "uuid", and whatever a test adds.
class RecordBuilder {
public:
    RecordBuilder(std::string_view recordType, std::string_view uuid);
    [[nodiscard]] static RecordBuilder project(std::string_view uuid);
    [[nodiscard]] static RecordBuilder tag(std::string_view uuid);
    [[nodiscard]] static RecordBuilder thing(std::string_view uuid);
    /// "deleted": true and nothing else.
    [[nodiscard]] static RecordBuilder deletion(std::string_view recordType, std::string_view uuid);

    RecordBuilder& with(std::string_view key, JsonValue value);
    RecordBuilder& without(std::string_view key);
    /// "tags", a list of texts.
    RecordBuilder& withTags(const std::vector<std::string>& uuids);

    [[nodiscard]] const JsonValue& json() const { return json_; }

private:
    JsonValue json_;
};

/// A request as a host writes it: version 1 and no records, and whatever a test adds. The store's
/// path and the exchange folder are those of the library that it is sent to, unless a test has set
/// or removed them.
class RequestBuilder {
public:
    RequestBuilder();

    RequestBuilder& record(const RecordBuilder& record);
    RequestBuilder& with(std::string_view key, JsonValue value);
    RequestBuilder& without(std::string_view key);
    /// Says that the host holds that version of a thing: "Thing:" and the uuid, as it is written.
    RequestBuilder& knownFingerprint(std::string_view uuid, std::string_view fingerprint);

    [[nodiscard]] std::string text(std::string_view storePath, std::string_view directory) const;

private:
    JsonValue json_;
};

}  // namespace kelto
