#include "kelto/AppleBridge/RequestIntake.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
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

/// Where the pieces of the text begin, and its end: known before, so that they meet even in a text
/// that somebody is changing.
std::vector<std::size_t> cutsOf(std::string_view text) {
    std::vector<std::size_t> cuts;
    for (std::size_t place = 0; place < text.size(); place += pieceBytes) {
        cuts.push_back(cutFrom(place, text));
    }
    cuts.push_back(text.size());
    return cuts;
}

/// A number that no text has had.
std::uint64_t newNumber() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

}  // namespace

LargeText RequestIntake::take(std::string_view request) {
    const std::shared_ptr<const Taken> last = this->last();
    const std::vector<std::size_t> cuts = cutsOf(request);
    const std::size_t pieceCount = cuts.size() - 1;
    constexpr std::size_t endOfText = 1;
    TextBuffer copy;
    char* const start = copy.room(request.size() + endOfText);
    std::vector<Piece> pieces(pieceCount);
    std::atomic<bool> isSound{true};
    shareWork(pieceCount, 1, [&](std::size_t number, std::size_t) {
        const std::size_t size = cuts[number + 1] - cuts[number];
        std::memcpy(start + cuts[number], request.data() + cuts[number], size);
        // Of the copy: whoever owns the original may be writing to it.
        const std::string_view piece(start + cuts[number], size);
        pieces[number] = {TextHash::of(piece), size};
        const bool isKnown = number < last->pieces.size() && last->pieces[number] == pieces[number];
        if (!isKnown && !isWellFormedUtf8(piece)) isSound = false;
    });
    if (!isSound) return LargeText(repairedUtf8(request));
    copy.commit(start + request.size());
    if (last->number != 0 && pieces == last->pieces) {
        return LargeText(std::move(copy), last->number);
    }
    const std::uint64_t number = newNumber();
    remember(std::make_shared<const Taken>(Taken{std::move(pieces), number}));
    return LargeText(std::move(copy), number);
}

std::shared_ptr<const RequestIntake::Taken> RequestIntake::last() {
    const std::lock_guard lock(mutex_);
    return last_;
}

void RequestIntake::remember(std::shared_ptr<const Taken> taken) {
    const std::lock_guard lock(mutex_);
    last_.swap(taken);
}

}  // namespace kelto
