#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace kelto {

/// The far side of a to-many relationship: objects of one entity in the order of their creation,
/// each once. Adding a new object is an append; adding an older one, finding or removing one takes
/// logarithmic time, whatever its place, so that a host may fill and empty a project of a million
/// items in any order.
template <typename Model>
class OrderedObjects {
public:
    [[nodiscard]] std::size_t size() const { return entries_.size() - holes_ + late_.size(); }
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] bool contains(const Model& object) const {
        const std::size_t place = placeOf(object.row());
        if (place < entries_.size() && entries_[place].object == &object) return true;
        return late_.contains(object.row());
    }

    /// The objects in their order.
    [[nodiscard]] std::vector<Model*> list() const {
        std::vector<Model*> objects;
        objects.reserve(size());
        visitInOrder([&objects](Model& object) { objects.push_back(&object); });
        return objects;
    }

    void add(Model& object) {
        const std::int64_t row = object.row();
        if (entries_.empty() || entries_.back().row < row) {
            entries_.push_back({row, &object});
            return;
        }
        Entry& entry = entries_[placeOf(row)];
        if (entry.row != row) {
            late_.emplace(row, &object);
            if (late_.size() * 4 > entries_.size()) settle();
        } else if (entry.object == nullptr) {
            entry.object = &object;
            --holes_;
        }
    }

    void remove(const Model& object) {
        const std::size_t place = placeOf(object.row());
        if (place < entries_.size() && entries_[place].object == &object) {
            entries_[place].object = nullptr;
            ++holes_;
            if (holes_ * 2 > entries_.size()) settle();
        } else {
            late_.erase(object.row());
        }
    }

private:
    struct Entry {
        std::int64_t row;
        Model* object;  // nullptr where one was removed
    };

    [[nodiscard]] std::size_t placeOf(std::int64_t wanted) const {
        const auto place = std::lower_bound(
            entries_.begin(), entries_.end(), wanted, [](const Entry& entry, std::int64_t row) {
                return entry.row < row;
            });
        return static_cast<std::size_t>(place - entries_.begin());
    }

    template <typename Visit>
    void visitInOrder(const Visit& visit) const {
        auto late = late_.begin();
        for (const Entry& entry : entries_) {
            for (; late != late_.end() && late->first < entry.row; ++late) visit(*late->second);
            if (entry.object != nullptr) visit(*entry.object);
        }
    }

    /// One pass that closes all holes and takes the late ones in. It waits until they are so many
    /// that its cost, spread over them, is a few steps each.
    void settle() {
        std::vector<Entry> settled;
        settled.reserve(size());
        visitInOrder([&settled](Model& object) { settled.push_back({object.row(), &object}); });
        entries_ = std::move(settled);
        late_.clear();
        holes_ = 0;
    }

    std::vector<Entry> entries_;  // by row
    std::size_t holes_ = 0;
    /// Added after objects that were created later; all of them stand before the last entry.
    std::map<std::int64_t, Model*> late_;
};

}  // namespace kelto
