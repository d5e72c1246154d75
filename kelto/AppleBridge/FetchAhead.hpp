#pragma once

#include <cstddef>
#include <string>

#include "kelto/model/Thing.hpp"

namespace kelto {

// Objects lie all over the memory, and waiting for one takes longer than most of what an exchange
// does with it. Loops over many of them ask the memory for those that come next.

/// How many objects ahead they are asked for, and how many ahead their texts, which are found only
/// through the objects.
inline constexpr std::size_t objectsAhead = 4;
inline constexpr std::size_t textsAhead = 2;

inline void fetchObject(const Thing& thing) {
    constexpr std::size_t lineBytes = 64;
    const auto* const start = reinterpret_cast<const char*>(&thing);
    for (std::size_t at = 0; at < sizeof thing; at += lineBytes) __builtin_prefetch(start + at);
}

/// Those of its texts that are seldom short enough to lie in the object itself.
inline void fetchTexts(const Thing& thing) {
    for (const std::string* text : {&thing.title(),
                                    &thing.subtitle(),
                                    &thing.content(),
                                    &thing.urlString(),
                                    &thing.metadataJSON()}) {
        __builtin_prefetch(text->data());
    }
    __builtin_prefetch(thing.tags().data());
}

}  // namespace kelto
