#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "kelto/persistence/ModelContainer.hpp"
#include "kelto/persistence/ModelObject.hpp"

namespace kelto {

/// A unit of work over a container's objects: what is inserted, changed and deleted through it is
/// stored by one save(), or not at all. Nothing is ever saved by itself. It begins with the first
/// fetch, insertion or deletion and ends with save() or rollback(); until then no other process can
/// write to the store. At most one context of a container is at work at a time. Main thread only.
class ModelContext {
public:
    enum class Access : std::uint8_t {
        write,
        read,  ///< Nothing is inserted, changed or deleted; other processes may write meanwhile.
    };
    explicit ModelContext(ModelContainer& container, Access access = Access::write);
    /// What was not saved is rolled back.
    ~ModelContext();
    ModelContext(const ModelContext&) = delete;
    ModelContext& operator=(const ModelContext&) = delete;

    /// Begins the unit of work, for a caller that has to know the numbers below before it fetches.
    void begin();

    /// All objects of a model class in the order of their creation, new ones included, deleted ones
    /// left out. The pointers are good until save() deletes them or rollback() forgets all.
    template <typename Model>
    [[nodiscard]] std::vector<Model*> fetch() {
        std::vector<Model*> models;
        const auto& objects = liveObjects(Model::description());
        models.reserve(objects.size());
        for (ModelObject* object : objects) models.push_back(static_cast<Model*>(object));
        return models;
    }

    /// Makes a new object, inserts it and answers it. `arguments` follow the environment in the
    /// class's constructor.
    template <typename Model, typename... Arguments>
    Model& insert(Arguments&&... arguments) {
        auto made = std::make_unique<Model>(environment(), std::forward<Arguments>(arguments)...);
        Model& model = *made;
        adopt(std::move(made));
        return model;
    }

    /// Deletes an object by the delete rules of its entity. It stays readable until save().
    void remove(ModelObject& object);

    [[nodiscard]] bool hasChanges() const;
    /// Stores all changes in one step, durably. On failure everything is rolled back before the
    /// error is thrown.
    void save();
    /// Leaves container and store as if this unit of work had never been. Every pointer that
    /// fetch() or insert() gave out is dead afterwards.
    void rollback() noexcept;

    /// Objects inserted or changed in this unit of work, in the order in which that happened first.
    [[nodiscard]] std::vector<const ModelObject*> insertedAndChanged() const;

    [[nodiscard]] PayloadStorage& payloads() { return container_.payloads(); }
    /// As the container's, of now: asked for inside the unit of work.
    [[nodiscard]] std::uint64_t populationNumber() const { return container_.populationNumber(); }
    /// The highest change number of any object so far.
    [[nodiscard]] std::uint64_t lastChangeNumber() const {
        return container_.environment_.lastChange();
    }

private:
    [[nodiscard]] ObjectEnvironment& environment();
    [[nodiscard]] std::vector<ModelObject*> liveObjects(const EntityDescription& entity);
    void adopt(std::unique_ptr<ModelObject> object);
    void end() noexcept;
    void markDeleted(ModelObject& object);
    /// After the store has taken the changes: what was new is stored, what was deleted goes.
    void settle() noexcept;

    ModelContainer& container_;
    Access access_;
    bool isAtWork_ = false;
    std::vector<ModelObject*> inserted_;
    std::vector<ModelObject*> deleted_;   // those that have a row
    std::vector<ModelObject*> unstored_;  // inserted and deleted again: no row will ever know
};

}  // namespace kelto
