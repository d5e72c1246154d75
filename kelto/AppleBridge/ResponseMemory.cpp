#include "kelto/AppleBridge/ResponseMemory.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/foundation/LargeMemory.hpp"
#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

namespace {

constexpr std::size_t commaBytes = 1;
constexpr std::size_t endOfText = 1;

/// Brings parts of a text, in their order, to their new places in the same memory. What moves to
/// the front goes first, from the front on, what moves to the back from the back on: then none is
/// written over before it has moved.
template <typename Pieces>
void moveWithin(char* text, const Pieces& pieces) {
    for (const auto& piece : pieces) {
        if (piece.isNew || piece.to >= piece.from) continue;
        std::memmove(text + piece.to, text + piece.from, piece.bytes);
    }
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
        if (piece->isNew || piece->to <= piece->from) continue;
        std::memmove(text + piece->to, text + piece->from, piece->bytes);
    }
}

template <typename Pieces>
void copyInto(char* text, std::string_view from, const Pieces& pieces, bool areNew) {
    for (const auto& piece : pieces) {
        if (piece.isNew != areNew) continue;
        std::memcpy(text + piece.to, from.data() + piece.from, piece.bytes);
    }
}

/// Whether a text belongs into so much memory: after most of a library has been deleted it would
/// lie in memory for all of it.
bool fits(std::size_t bytes, std::size_t memory) {
    constexpr std::size_t most = 2;
    return bytes <= memory && (memory <= LargeMemory::usualBytes || bytes >= memory / most);
}

}  // namespace

std::optional<LargeText> ResponseMemory::find(const ResponseBasis& basis) const {
    return basis_ == basis ? text_ : std::nullopt;
}

std::vector<Thing*> ResponseMemory::changed(std::span<Thing* const> things) const {
    std::vector<Thing*> changed;
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) __builtin_prefetch(things[i + objectsAhead]);
        if (!text_ || things[i]->changeNumber() > basis_.changeNumber) changed.push_back(things[i]);
    }
    return changed;
}

LargeText ResponseMemory::renew(ResponseBasis basis,
                                RecordList head,
                                std::span<Thing* const> things,
                                std::span<Thing* const> changed,
                                std::string_view tail) {
    const bool hasComma = head.hasRecords() && !things.empty();
    const std::size_t start = head.view().size() + (hasComma ? commaBytes : 0);
    std::optional<Plan> plan;
    if (basis_.receivedFolder == basis.receivedFolder) plan = planFor(start, things, changed, head);
    ResponseMemory next;
    if (plan) {
        if (hasComma) head.appendText(",");
        next.text_ = carriedOut(*plan, head.view(), tail);
        next.things_ = std::move(plan->things);
        next.end_ = plan->end;
        countWork(Work::thingsPrinted, changed.size());
    } else {
        forget();  // first, so that its memory can serve the next text
        head.append(things, tail.size() + endOfText);
        countWork(Work::thingsPrinted, things.size());
        next.things_ = lengths(head, things);
        next.end_ = head.view().size() + (things.empty() ? 0 : commaBytes);
        head.appendText(tail);
        next.text_ = head.take();
    }
    next.basis_ = std::move(basis);
    next.start_ = start;
    *this = std::move(next);
    return *text_;
}

std::optional<ResponseMemory::Plan> ResponseMemory::planFor(std::size_t start,
                                                            std::span<Thing* const> things,
                                                            std::span<Thing* const> changed,
                                                            const RecordList& list) const {
    // Two threads print a whole text, one what is new in it.
    constexpr std::size_t mostChanged = 4;
    if (!text_ || changed.size() > things.size() / mostChanged) return std::nullopt;
    Plan plan;
    plan.things.reserve(things.size());
    plan.end = start;
    const auto add = [&plan](bool isNew, std::size_t from, const Printed& printed) {
        Piece* const last = plan.pieces.empty() ? nullptr : &plan.pieces.back();
        if (last != nullptr && last->isNew == isNew && last->from + last->bytes == from) {
            last->bytes += printed.bytes;
        } else {
            plan.pieces.push_back({isNew, from, plan.end, printed.bytes});
        }
        plan.things.push_back(printed);
        plan.end += printed.bytes;
    };
    auto nextChanged = changed.begin();
    auto before = things_.begin();
    std::size_t place = start_;  // of the record `before`
    for (const Thing* thing : things) {
        if (nextChanged != changed.end() && *nextChanged == thing) {
            ++nextChanged;
            const std::size_t from = plan.printed.size();
            list.appendAlone(*thing, plan.printed);
            // Else what the store told of the fingerprints is wrong, which the list will mend.
            if (plan.printed.size() - from != list.bytesOf(*thing)) return std::nullopt;
            plan.printed.append(',');
            add(true, from, {thing, plan.printed.size() - from});
            continue;
        }
        // Things keep their order: those in between have changed, or are gone.
        for (; before != things_.end() && before->thing != thing; ++before) place += before->bytes;
        if (before == things_.end()) return std::nullopt;
        add(false, place, *before);
        place += before->bytes;
        ++before;
    }
    return plan;
}

LargeText ResponseMemory::carriedOut(const Plan& plan,
                                     std::string_view head,
                                     std::string_view tail) {
    const std::size_t tailPlace = plan.end - (plan.things.empty() ? 0 : commaBytes);
    const std::size_t bytes = tailPlace + tail.size();
    LargeText last = *std::exchange(text_, std::nullopt);
    std::optional<TextBuffer> text = last.release();
    char* start = nullptr;
    if (text && fits(bytes + endOfText, text->size() + text->roomLeft())) {
        text->clear();
        start = text->room(bytes + endOfText);
        moveWithin(start, plan.pieces);
    } else {
        // Somebody still reads the last text, or its memory has become too small or far too large.
        TextBuffer other;
        start = other.room(bytes + endOfText);
        copyInto(start, text ? text->view() : last.view(), plan.pieces, false);
        text = std::move(other);
    }
    for (const Piece& piece : plan.pieces) {
        const bool wasLast = !piece.isNew && piece.from + piece.bytes == end_;
        if (wasLast) start[piece.to + piece.bytes - commaBytes] = ',';
    }
    copyInto(start, plan.printed.view(), plan.pieces, true);
    std::memcpy(start, head.data(), head.size());
    std::memcpy(start + tailPlace, tail.data(), tail.size());
    text->commit(start + bytes);
    return LargeText(std::move(*text));
}

LargeVector<ResponseMemory::Printed> ResponseMemory::lengths(const RecordList& list,
                                                             std::span<Thing* const> things) {
    LargeVector<Printed> printed;
    printed.reserve(things.size());
    for (const Thing* thing : things) printed.push_back({thing, list.bytesOf(*thing) + commaBytes});
    return printed;
}

}  // namespace kelto
