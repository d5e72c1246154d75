#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// The objects of one entity, in the order of their creation, which is that of their rows. Finding
/// one by its row takes a few steps, and removing one does not touch the others.
class Population {
public:
    explicit Population(const EntityDescription& entity) : entity_(&entity) {}

    [[nodiscard]] const EntityDescription& entity() const { return *entity_; }
    [[nodiscard]] std::size_t size() const { return entries_.size() - holes_; }
    /// The object of that row; nullptr when there is none.
    [[nodiscard]] ModelObject* find(std::int64_t row) const;
    /// The lowest row number behind those of all objects, if there is one.
    [[nodiscard]] std::int64_t firstRowBehind() const;

    /// A row that is not behind those of all objects is a damaged store's error.
    void add(std::unique_ptr<ModelObject> object);
    /// Ends the life of the object.
    void remove(const ModelObject& object);
    void clear() noexcept;

    template <typename Visit>
    void visit(const Visit& visit) const {
        for (const Entry& entry : entries_) {
            if (entry.object) visit(*entry.object);
        }
    }

private:
    /// The row stands here too, so that a search does not fetch objects from all over the memory.
    struct Entry {
        std::int64_t row;
        std::unique_ptr<ModelObject> object;  // nullptr where one was removed, never at the end
    };

    [[nodiscard]] std::size_t placeOf(std::int64_t row) const;

    const EntityDescription* entity_;
    std::vector<Entry> entries_;  // by row
    std::size_t holes_ = 0;
};

}  // namespace kelto
