#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "tools/keltoctl/PageDocument.hpp"
#include "tools/keltoctl/PagePictures.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// Writes a library as one HTML page that needs nothing beside it: styles, script, texts and
/// pictures are in it, and its content policy forbids every request. The texts of the library are
/// data to the page, never markup. `put` gets it piece by piece, in order.
[[nodiscard]] PageReport writeLibraryPage(const Snapshot& snapshot,
                                          PictureChoice pictures,
                                          std::int64_t nowMilliseconds,
                                          const std::function<void(std::string_view)>& put);

}  // namespace kelto::ctl
