#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kelto {

/// The far side of a to-many relationship: objects of one entity in the order of their creation,
/// each once. Finding one takes a binary search, adding a new object is an append.
template <typename Model>
class OrderedObjects {
public:
    [[nodiscard]] auto begin() const { return objects_.begin(); }
    [[nodiscard]] auto end() const { return objects_.end(); }
    [[nodiscard]] std::size_t size() const { return objects_.size(); }
    [[nodiscard]] bool empty() const { return objects_.empty(); }
    [[nodiscard]] const std::vector<Model*>& list() const { return objects_; }
    [[nodiscard]] bool contains(const Model& object) const {
        const auto place = placeOf(object);
        return place != objects_.end() && *place == &object;
    }

    void add(Model& object) {
        if (objects_.empty() || objects_.back()->row() < object.row()) {
            objects_.push_back(&object);
            return;
        }
        const auto place = placeOf(object);
        if (*place != &object) objects_.insert(place, &object);
    }

    void remove(const Model& object) {
        const auto place = placeOf(object);
        if (place != objects_.end() && *place == &object) objects_.erase(place);
    }

private:
    [[nodiscard]] auto placeOf(const Model& object) const {
        return std::lower_bound(
            objects_.begin(), objects_.end(), &object, [](const Model* left, const Model* right) {
                return left->row() < right->row();
            });
    }

    std::vector<Model*> objects_;
};

}  // namespace kelto
