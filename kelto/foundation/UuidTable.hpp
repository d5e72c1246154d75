#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Values by identifier, for tables that are built once for every exchange: all entries lie in one
/// piece of memory, in the order in which they came, and none is ever taken out. Up to 2^32 - 2
/// entries.
template <typename Value>
class UuidTable {
public:
    void reserve(std::size_t count) {
        entries_.reserve(count);
        if (count * 2 > places_.size()) spread(count * 2);
    }

    /// A later value replaces an earlier one.
    void assign(const Uuid& key, const Value& value) {
        if (entries_.size() * 2 >= places_.size()) spread(entries_.size() * 4 + smallest);
        std::uint32_t& place = placeOf(key);
        if (place != nowhere) {
            entries_[place].value = value;
            return;
        }
        place = static_cast<std::uint32_t>(entries_.size());
        entries_.push_back({key, value});
    }

    /// nullptr when there is none. Good until the next assign().
    [[nodiscard]] const Value* find(const Uuid& key) const {
        const std::uint32_t number = numberOf(key);
        return number == nowhere ? nullptr : &entries_[number].value;
    }

    /// The same for keys that are mostly asked for in the order in which they came, some of them
    /// left out: `hint`, 0 at first, is where the next one is expected.
    [[nodiscard]] const Value* find(const Uuid& key, std::size_t& hint) const {
        constexpr std::size_t mostLeftOut = 8;
        const std::size_t end = std::min(hint + mostLeftOut, entries_.size());
        std::size_t number = hint;
        while (number < end && entries_[number].key != key) ++number;
        if (number >= end) number = numberOf(key);
        if (number == nowhere) return nullptr;
        hint = number + 1;
        return &entries_[number].value;
    }

    [[nodiscard]] std::size_t size() const { return entries_.size(); }

private:
    struct Entry {
        Uuid key;
        Value value;
    };
    static constexpr std::uint32_t nowhere = 0xFFFF'FFFF;
    static constexpr std::size_t smallest = 16;

    [[nodiscard]] std::uint32_t numberOf(const Uuid& key) const {
        return entries_.empty() ? nowhere : const_cast<UuidTable*>(this)->placeOf(key);
    }

    /// Where the key's number stands, or would stand.
    std::uint32_t& placeOf(const Uuid& key) {
        const std::size_t mask = places_.size() - 1;
        for (std::size_t at = std::hash<Uuid>()(key) & mask;; at = (at + 1) & mask) {
            std::uint32_t& place = places_[at];
            if (place == nowhere || entries_[place].key == key) return place;
        }
    }

    void spread(std::size_t least) {
        std::size_t count = smallest;
        while (count < least) count *= 2;
        places_.assign(count, nowhere);
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            placeOf(entries_[i].key) = static_cast<std::uint32_t>(i);
        }
    }

    std::vector<Entry> entries_;
    std::vector<std::uint32_t> places_;  // a power of two of them, at most half of them taken
};

}  // namespace kelto
