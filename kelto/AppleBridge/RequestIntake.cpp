#include "kelto/AppleBridge/RequestIntake.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

constexpr std::size_t pieceBytes = std::size_t{256} * 1024;

/// The first place from `place` on where a text may be cut without cutting a character. In what is
/// not UTF-8 a cut may lie anywhere: one of the parts is malformed in any case. So it looks no
/// farther than a character is long, however many bytes look like the inside of one. Nothing stands
/// before the beginning, so that is always such a place.
std::size_t cutFrom(std::size_t place, std::string_view text) {
    if (place == 0) return 0;
    const auto continues = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    constexpr std::size_t mostContinuing = 3;
    const std::size_t end = std::min(place + mostContinuing, text.size());
    while (place < end && continues(place)) ++place;
    return place;
}

}  // namespace

LargeText RequestIntake::take(std::string_view request) {
    std::shared_ptr<const Pieces> last;
    {
        const std::lock_guard lock(mutex_);
        last = last_;
    }
    constexpr std::size_t endOfText = 1;
    TextBuffer copy;
    char* const start = copy.room(request.size() + endOfText);
    auto pieces = std::make_shared<Pieces>((request.size() + pieceBytes - 1) / pieceBytes);
    std::atomic<bool> isSound{true};
    shareWork(request.size(), pieceBytes, [&](std::size_t begin, std::size_t end) {
        const std::size_t from = cutFrom(begin, request);
        const std::string_view text = request.substr(from, cutFrom(end, request) - from);
        std::memcpy(start + from, text.data(), text.size());
        // Of the copy: whoever owns the original may be writing to it.
        const std::string_view copied(start + from, text.size());
        const std::size_t number = begin / pieceBytes;
        Piece& piece = (*pieces)[number];
        piece = {TextHash::of(copied), copied.size()};
        const bool isKnown = number < last->size() && (*last)[number] == piece;
        if (!isKnown && !isWellFormedUtf8(copied)) isSound = false;
    });
    if (!isSound) return LargeText(repairedUtf8(request));
    copy.commit(start + request.size());
    static_assert(std::has_unique_object_representations_v<Piece>);
    const TextHash whole = TextHash::of(
        {reinterpret_cast<const char*>(pieces->data()), pieces->size() * sizeof(Piece)});
    {
        const std::lock_guard lock(mutex_);
        last_ = std::move(pieces);
    }
    return LargeText(std::move(copy), whole);
}

}  // namespace kelto
