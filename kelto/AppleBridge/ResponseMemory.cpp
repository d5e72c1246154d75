#include "kelto/AppleBridge/ResponseMemory.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
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

}  // namespace

std::optional<LargeText> ResponseMemory::find(const ResponseBasis& basis) const {
    return basis_ == basis ? text_ : std::nullopt;
}

LargeText ResponseMemory::renew(ResponseBasis basis,
                                RecordList head,
                                std::span<Thing* const> things,
                                std::string_view tail) {
    const bool hasComma = head.hasRecords() && !things.empty();
    const std::size_t start = head.view().size() + (hasComma ? commaBytes : 0);
    std::optional<Plan> plan = planFor(things, start, basis.receivedFolder);
    ResponseMemory next;
    if (plan) {
        if (hasComma) head.appendText(",");
        next.text_ = carriedOut(*plan, head.view(), tail);
        next.things_ = std::move(plan->things);
        countWork(Work::thingsPrinted, plan->printedThings);
        next.end_ = plan->end;
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

std::optional<ResponseMemory::Plan> ResponseMemory::planFor(std::span<Thing* const> things,
                                                            std::size_t start,
                                                            std::string_view receivedFolder) const {
    if (basis_.receivedFolder != receivedFolder || !isWorthRenewing(things)) return std::nullopt;
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
    auto before = things_.begin();
    std::size_t place = start_;  // of the record `before`
    for (const Thing* thing : things) {
        if (thing->changeNumber() > basis_.changeNumber) {
            const std::size_t from = plan.printed.size();
            appendThingRecord(plan.printed, *thing, *thing->derivedDigests(), receivedFolder);
            plan.printed.append(',');
            add(true, from, {thing, plan.printed.size() - from});
            ++plan.printedThings;
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

bool ResponseMemory::isWorthRenewing(std::span<Thing* const> things) const {
    if (!text_) return false;
    std::size_t changed = 0;
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) fetchObject(*things[i + objectsAhead]);
        if (things[i]->changeNumber() > basis_.changeNumber) ++changed;
    }
    // Two threads print a whole text, one what is new in it.
    constexpr std::size_t mostChanged = 4;
    return changed <= things.size() / mostChanged;
}

LargeText ResponseMemory::carriedOut(const Plan& plan,
                                     std::string_view head,
                                     std::string_view tail) {
    const std::size_t tailPlace = plan.end - (plan.things.empty() ? 0 : commaBytes);
    const std::size_t bytes = tailPlace + tail.size();
    LargeText last = *std::exchange(text_, std::nullopt);
    std::optional<TextBuffer> text = std::move(last).release();
    char* start = nullptr;
    if (text && text->size() + text->roomLeft() >= bytes + endOfText) {
        text->clear();
        start = text->room(bytes + endOfText);
        moveWithin(start, plan.pieces);
    } else {
        // Somebody still reads the last text, or it has become too long for its memory.
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
