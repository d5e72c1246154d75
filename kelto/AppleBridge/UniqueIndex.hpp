#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Models by identifier, no two under one. A table of nothing but pointers: the identifiers stand
/// in the models, which are looked at next in any case. They are borrowed, and none may go while it
/// is in the table.
template <typename Model>
class UniqueIndex {
public:
    void reserve(std::size_t count) {
        if (count * 2 > places_.size()) spread(count * 2);
    }

    /// False, and nothing is changed, when another one has that identifier.
    [[nodiscard]] bool add(Model& model) {
        if (size_ * 2 >= places_.size()) spread(size_ * 4 + smallest);
        Model*& place = places_[placeOf(model.uuid())];
        if (place != nullptr) return false;
        place = &model;
        ++size_;
        return true;
    }

    /// nullptr when there is none.
    [[nodiscard]] Model* find(const Uuid& identifier) const {
        return size_ == 0 ? nullptr : places_[placeOf(identifier)];
    }
    [[nodiscard]] bool contains(const Uuid& identifier) const {
        return find(identifier) != nullptr;
    }

    /// Takes one out; nullptr when there is none.
    Model* take(const Uuid& identifier) {
        if (size_ == 0) return nullptr;
        std::size_t gap = placeOf(identifier);
        Model* const taken = places_[gap];
        if (taken == nullptr) return nullptr;
        places_[gap] = nullptr;
        --size_;
        // Those behind, up to the next gap, may have come there only because this place was taken.
        for (std::size_t at = next(gap); places_[at] != nullptr; at = next(at)) {
            const std::size_t wanted = firstPlace(places_[at]->uuid());
            const bool isReachedWithoutTheGap =
                gap < at ? gap < wanted && wanted <= at : gap < wanted || wanted <= at;
            if (isReachedWithoutTheGap) continue;
            places_[gap] = std::exchange(places_[at], nullptr);
            gap = at;
        }
        return taken;
    }

    [[nodiscard]] std::size_t size() const { return size_; }

    /// All of them, in no order that means anything.
    [[nodiscard]] std::vector<const Model*> models() const {
        std::vector<const Model*> all;
        all.reserve(size_);
        for (const Model* model : places_) {
            if (model != nullptr) all.push_back(model);
        }
        return all;
    }

private:
    static constexpr std::size_t smallest = 16;

    [[nodiscard]] std::size_t firstPlace(const Uuid& identifier) const {
        return std::hash<Uuid>()(identifier) & (places_.size() - 1);
    }
    [[nodiscard]] std::size_t next(std::size_t place) const {
        return (place + 1) & (places_.size() - 1);
    }
    /// Where the model of that identifier stands, or would stand.
    [[nodiscard]] std::size_t placeOf(const Uuid& identifier) const {
        std::size_t at = firstPlace(identifier);
        while (places_[at] != nullptr && places_[at]->uuid() != identifier) at = next(at);
        return at;
    }
    void spread(std::size_t least) {
        std::size_t count = smallest;
        while (count < least) count *= 2;
        const std::vector<Model*> before = std::exchange(places_, std::vector<Model*>(count));
        for (Model* model : before) {
            if (model != nullptr) places_[placeOf(model->uuid())] = model;
        }
    }

    std::vector<Model*> places_;  // a power of two of them, at most half of them taken
    std::size_t size_ = 0;
};

/// The models by identifier. Two that share one stop the exchange: devices may each have made a
/// record of that identifier, and merging them would lose one.
template <typename Model>
[[nodiscard]] UniqueIndex<Model> unique(const std::vector<Model*>& models) {
    UniqueIndex<Model> index;
    index.reserve(models.size());
    for (Model* model : models) {
        if (!index.add(*model)) throw BridgeError(BridgeRefusal::duplicateIdentifiers);
    }
    return index;
}

}  // namespace kelto
