#include "tools/keltoctl/PagePictures.hpp"

#include <memory>

#include <glib.h>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "tools/keltoctl/ImageSize.hpp"
#include "tools/keltoctl/PictureType.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

/// None also when the file cannot be read: a page is worth having without one picture.
std::optional<std::string> contents(const std::string& path) {
    try {
        return readTextFile(path);
    } catch (const Refusal&) {
        return std::nullopt;
    }
}

bool hasTooManyPixels(std::string_view bytes) {
    const auto size = readImageSize(bytesOf(bytes));
    return size && size->width * size->height > pageLimits::picturePixels;
}

std::string base64(std::string_view bytes) {
    const std::unique_ptr<gchar, decltype(&g_free)> text(
        g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size()), &g_free);
    return text.get();
}

}  // namespace

PagePictures::Attempt PagePictures::attempt(const std::string& path, std::int64_t byteLimit) {
    const bool isLimited = choice_ != PictureChoice::all;
    // A large file is not even read.
    if (!isLimited) byteLimit = pageLimits::shownBytes;
    if (fileSize(path) > byteLimit) return {{}, PictureLack::tooLarge};
    const auto bytes = contents(path);
    const auto mediaType = bytes ? pictureMediaType(*bytes) : std::nullopt;
    if (!mediaType) return {{}, PictureLack::noPicture};
    std::string digest = sha256(*bytes).hex();
    if (const auto known = numbers_.find(digest); known != numbers_.end())
        return {known->second, {}};
    const auto size = static_cast<std::int64_t>(bytes->size());
    if (isLimited && (bytes_ + size > pageLimits::allPictureBytes || hasTooManyPixels(*bytes)))
        return {{}, PictureLack::tooLarge};
    bytes_ += size;
    const std::size_t number = pictures_.size();
    numbers_.emplace(digest, number);
    pictures_.push_back({path, *mediaType, std::move(digest)});
    return {number, {}};
}

PagePictures::Shown PagePictures::choose(const ThingRecord& thing) {
    Shown shown;
    const bool isImage = thing.data && kindOf(thing) == ThingKind::image;
    if (choice_ == PictureChoice::none) {
        if (isImage || thing.thumbnail) shown.lack = PictureLack::notWanted;
        return shown;
    }
    if (thing.icon) shown.icon = attempt(*thing.icon, pageLimits::iconBytes).number;
    Attempt found;
    if (thing.thumbnail) found = attempt(*thing.thumbnail, pageLimits::pictureBytes);
    if (!found.number && isImage) found = attempt(*thing.data, pageLimits::pictureBytes);
    shown.picture = found.number;
    if (!found.number) shown.lack = found.lack;
    return shown;
}

void PagePictures::write(const std::function<void(std::size_t, std::string_view)>& put) const {
    for (std::size_t number = 0; number < pictures_.size(); ++number) {
        const Picture& picture = pictures_[number];
        const auto bytes = contents(picture.path);
        std::string address;
        if (bytes && sha256(*bytes).hex() == picture.digest)
            address.append("data:")
                .append(picture.mediaType)
                .append(";base64,")
                .append(base64(*bytes));
        put(number, address);
    }
}

}  // namespace kelto::ctl
