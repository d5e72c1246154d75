#include "kelto/AppleBridge/RecordRecognition.hpp"

namespace kelto {

const SeenRecord* RecordRecognition::recognise(std::string_view rest) {
    for (std::size_t* place : {&expected_, &alternative_}) {
        if (*place >= memory_.records.size()) continue;
        const SeenRecord& seen = memory_.records[*place];
        if (!stands(seen, rest)) continue;
        ++*place;
        return &seen;
    }
    return nullptr;
}

bool RecordRecognition::stands(const SeenRecord& seen, std::string_view rest) {
    if (isRepeated_) return true;
    const SeenText text = seen.text();
    if (!text.mayBegin(rest) || text.size > mayBeInVain_) return false;
    if (text.begins(rest)) return true;
    mayBeInVain_ -= text.size;
    return false;
}

void RecordRecognition::foundInstead(const Uuid& identifier) {
    if (expected_ < memory_.records.size() && memory_.records[expected_].identifier == identifier) {
        ++expected_;  // an edited one
        return;
    }
    const std::uint32_t* place = placeOf(identifier);
    if (place == nullptr) return;  // a new one: those expected come behind it
    alternative_ = expected_;
    expected_ = std::size_t{*place} + 1;
}

const std::uint32_t* RecordRecognition::placeOf(const Uuid& identifier) {
    // Made only when something was moved or removed.
    if (places_.size() == 0) {
        places_.reserve(memory_.records.size());
        for (std::size_t i = 0; i < memory_.records.size(); ++i) {
            places_.assign(memory_.records[i].identifier, static_cast<std::uint32_t>(i));
        }
    }
    return places_.find(identifier);
}

}  // namespace kelto
