#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kelto {

/// The far side of a to-many relationship: objects of one entity in the order of their creation,
/// each once. Adding a new object is an append; finding or removing one is a binary search,
/// whatever its place, so that a host may empty a project of a million items in any order.
template <typename Model>
class OrderedObjects {
public:
    [[nodiscard]] std::size_t size() const { return entries_.size() - holes_; }
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] bool contains(const Model& object) const {
        const std::size_t place = placeOf(object);
        return place < entries_.size() && entries_[place].object == &object;
    }

    /// The objects in their order.
    [[nodiscard]] std::vector<Model*> list() const {
        std::vector<Model*> objects;
        objects.reserve(size());
        for (const Entry& entry : entries_) {
            if (entry.object != nullptr) objects.push_back(entry.object);
        }
        return objects;
    }

    void add(Model& object) {
        const Entry added{object.row(), &object};
        if (entries_.empty() || entries_.back().row < added.row) {
            entries_.push_back(added);
            return;
        }
        const auto place = entries_.begin() + static_cast<std::ptrdiff_t>(placeOf(object));
        if (place->row != added.row) {
            entries_.insert(place, added);
        } else if (place->object == nullptr) {
            place->object = &object;
            --holes_;
        }
    }

    void remove(const Model& object) {
        if (!contains(object)) return;
        entries_[placeOf(object)].object = nullptr;
        ++holes_;
        // Holes keep removal cheap; when they are the larger part, one pass closes them all.
        if (holes_ * 2 <= entries_.size()) return;
        std::erase_if(entries_, [](const Entry& entry) { return entry.object == nullptr; });
        holes_ = 0;
    }

private:
    struct Entry {
        std::int64_t row;
        Model* object;  // nullptr where one was removed
    };

    [[nodiscard]] std::size_t placeOf(const Model& object) const {
        const auto place = std::lower_bound(
            entries_.begin(), entries_.end(), object.row(), [](const Entry& entry, auto row) {
                return entry.row < row;
            });
        return static_cast<std::size_t>(place - entries_.begin());
    }

    std::vector<Entry> entries_;
    std::size_t holes_ = 0;
};

}  // namespace kelto
