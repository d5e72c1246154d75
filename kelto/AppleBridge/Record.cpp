#include "kelto/AppleBridge/Record.hpp"

namespace kelto {

std::optional<Date> Record::optionalDate(RecordKey key) const {
    const auto milliseconds = value(key).asNumber();
    if (!milliseconds) return std::nullopt;
    return Date::fromMilliseconds(*milliseconds);
}

std::optional<Uuid> Record::optionalUUID(RecordKey key) const {
    const auto text = value(key).asString();
    if (!text) return std::nullopt;
    return Uuid::parse(*text);
}

std::optional<Uuid> Record::identifier() const {
    return seen_ != nullptr ? std::optional(seen_->identifier) : optionalUUID(RecordKey::uuid);
}

std::optional<RecordType> Record::type() const {
    if (seen_ != nullptr) return seen_->type;
    const std::string_view type = string(RecordKey::recordType);
    if (type == "Project") return RecordType::project;
    if (type == "Tag") return RecordType::tag;
    if (type == "Thing") return RecordType::thing;
    return std::nullopt;
}

}  // namespace kelto
