#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/keltoctl/Records.hpp"

namespace kelto::ctl {

/// Which pictures a page carries.
enum class PictureChoice : std::uint8_t {
    small,  ///< those of a size that a page of many is still quick with
    all,    ///< every one that a browser can show
    none
};

/// How large `small` is, and what no browser would show in an address.
namespace pageLimits {
inline constexpr std::int64_t pictureBytes = 250'000;
inline constexpr std::int64_t picturePixels = 50'000'000;
inline constexpr std::int64_t iconBytes = 32'000;
inline constexpr std::int64_t allPictureBytes = 25'000'000;
inline constexpr std::int64_t shownBytes = 250'000'000;  ///< of each, also with `all`
}  // namespace pageLimits

/// Why a thing is shown without the picture it has.
enum class PictureLack : std::uint8_t {
    tooLarge,   ///< above a limit, itself or with those before it
    noPicture,  ///< its file is gone, or nothing that browsers show
    notWanted   ///< the choice was none
};

/// Chooses the pictures that a page carries, each once however many things share it.
class PagePictures {
public:
    explicit PagePictures(PictureChoice choice) : choice_(choice) {}

    struct Shown {
        std::optional<std::size_t> picture;  ///< its number on the page
        std::optional<std::size_t> icon;
        std::optional<PictureLack> lack;
    };
    /// The thumbnail of a thing, or else, if it is an image, its file. Things that come first are
    /// served first.
    [[nodiscard]] Shown choose(const ThingRecord& thing);

    [[nodiscard]] std::size_t count() const { return pictures_.size(); }
    /// Hands out each picture by its number, as a "data:" address, one at a time in memory. A file
    /// that has changed since it was chosen, or has gone, is an empty text.
    void write(const std::function<void(std::size_t, std::string_view)>& put) const;

private:
    struct Picture {
        std::string path;
        std::string_view mediaType;
        std::string digest;
    };
    struct Attempt {
        std::optional<std::size_t> number;
        std::optional<PictureLack> lack;
    };

    [[nodiscard]] Attempt attempt(const std::string& path, std::int64_t byteLimit);

    PictureChoice choice_;
    std::int64_t bytes_ = 0;
    std::vector<Picture> pictures_;
    std::map<std::string, std::size_t, std::less<>> numbers_;  ///< by digest
};

}  // namespace kelto::ctl
