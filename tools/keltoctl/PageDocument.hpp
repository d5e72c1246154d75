#pragma once

#include <cstddef>
#include <string>

#include "tools/keltoctl/PagePictures.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// What a page holds of a library.
struct PageReport {
    std::size_t items = 0;
    std::size_t inTrash = 0;
    std::size_t conflictCopies = 0;
    std::size_t pictures = 0;          ///< items that are shown with a picture
    std::size_t tooLargePictures = 0;  ///< items that are not, for this reason
    std::size_t unshownPictures = 0;
    std::size_t unwantedPictures = 0;
    std::size_t shortenedTexts = 0;  ///< items whose content or note was cut
};

/// The longest content or note of an item that a page carries whole, in bytes.
inline constexpr std::size_t pageTextBytes = 64'000;

/// The library as the page's script reads it: one JSON document, in which items name projects, tags
/// and each other by their place in its lists. Items stand in the order of the tree.
[[nodiscard]] std::string pageDocument(const Snapshot& snapshot,
                                       std::int64_t nowMilliseconds,
                                       PagePictures& pictures,
                                       PageReport& report);

}  // namespace kelto::ctl
