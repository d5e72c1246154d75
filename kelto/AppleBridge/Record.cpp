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

}  // namespace kelto
