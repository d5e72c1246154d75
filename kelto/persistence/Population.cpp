#include "kelto/persistence/Population.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

/// The place of the first entry that is not before `row`.
std::size_t Population::placeOf(std::int64_t row) const {
    if (entries_.empty() || row <= entries_.front().row) return 0;
    // Rows are numbered without a gap but for what was deleted: the entry is where it would be if
    // nothing had been, or before.
    const auto distance =
        static_cast<std::uint64_t>(row) - static_cast<std::uint64_t>(entries_.front().row);
    const auto end = entries_.begin() + static_cast<std::ptrdiff_t>(
                                            std::min<std::uint64_t>(distance, entries_.size()));
    if (end != entries_.end() && end->row == row) {
        return static_cast<std::size_t>(end - entries_.begin());
    }
    const auto place =
        std::lower_bound(entries_.begin(), end, row, [](const Entry& entry, std::int64_t wanted) {
            return entry.row < wanted;
        });
    return static_cast<std::size_t>(place - entries_.begin());
}

ModelObject* Population::find(std::int64_t row) const {
    const std::size_t place = placeOf(row);
    return place < entries_.size() && entries_[place].row == row ? entries_[place].object.get()
                                                                 : nullptr;
}

std::int64_t Population::firstRowBehind() const {
    constexpr auto limits = std::numeric_limits<std::int64_t>();
    if (entries_.empty()) return limits.min();
    return entries_.back().row == limits.max() ? limits.max() : entries_.back().row + 1;
}

void Population::add(std::unique_ptr<ModelObject> object) {
    const std::int64_t row = object->row();
    if (!entries_.empty() && row <= entries_.back().row) {
        throw damagedStore("its records are not in their order");
    }
    entries_.push_back({row, std::move(object)});
}

void Population::remove(const ModelObject& object) {
    const std::size_t place = placeOf(object.row());
    if (place >= entries_.size() || entries_[place].object.get() != &object) return;
    entries_[place].object.reset();
    ++holes_;
    while (!entries_.empty() && entries_.back().object == nullptr) {
        entries_.pop_back();
        --holes_;
    }
    // One pass closes all holes; spread over them, its cost is two steps each.
    if (holes_ * 2 <= entries_.size()) return;
    std::erase_if(entries_, [](const Entry& entry) { return entry.object == nullptr; });
    holes_ = 0;
}

void Population::clear() noexcept {
    entries_.clear();
    holes_ = 0;
}

}  // namespace kelto
