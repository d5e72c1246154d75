#include "kelto/persistence/ModelContext.hpp"

#include <algorithm>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

using State = ModelObject::State;

ModelContext::ModelContext(ModelContainer& container, Access access)
    : container_(container), access_(access) {}

ModelContext::~ModelContext() {
    rollback();
}

void ModelContext::begin() {
    if (isAtWork_) return;
    PersistentStore& store = *container_.store_;
    container_.begin(access_ == Access::write ? store.begin() : store.beginReading());
    isAtWork_ = true;
}

ObjectEnvironment& ModelContext::environment() {
    begin();
    return container_.environment_;
}

std::vector<ModelObject*> ModelContext::liveObjects(const EntityDescription& entity) {
    begin();
    const Population& population = container_.population(entity);
    std::vector<ModelObject*> live;
    live.reserve(population.size());
    population.visit([&live](ModelObject& object) {
        if (object.state() != State::deleted) live.push_back(&object);
    });
    return live;
}

void ModelContext::adopt(std::unique_ptr<ModelObject> object) {
    object->state_ = State::inserted;
    ++container_.populationNumber_;
    inserted_.push_back(object.get());
    Population& population = container_.population(object->entity());
    population.add(std::move(object));
}

void ModelContext::remove(ModelObject& object) {
    begin();
    // A list instead of recursion: a tree of projects may be deeper than the stack is long.
    std::vector<ModelObject*> waiting{&object};
    while (!waiting.empty()) {
        ModelObject& next = *waiting.back();
        waiting.pop_back();
        if (next.state() == State::deleted) continue;
        markDeleted(next);
        for (const RelationshipDescription& relationship : next.entity().relationships) {
            const std::vector<ModelObject*> related = relationship.related(next);
            if (relationship.deleteRule == DeleteRule::cascade) {
                waiting.insert(waiting.end(), related.begin(), related.end());
            }
            // From the back: lists in order of creation lose their last object at no cost.
            for (auto other = related.rbegin(); other != related.rend(); ++other) {
                relationship.unlink(next, **other);
            }
        }
    }
}

void ModelContext::markDeleted(ModelObject& object) {
    if (object.state() == State::detached) fatalError("an object of no context is deleted");
    for (const AttributeDescription& attribute : object.entity().attributes) {
        if (attribute.payload == nullptr) continue;
        if (const auto payload = attribute.payload(object)) {
            container_.environment_.releasedPayloads.push_back(*payload);
        }
    }
    if (object.state() == State::stored) {
        deleted_.push_back(&object);
    } else {
        unstored_.push_back(&object);
    }
    object.state_ = State::deleted;
}

bool ModelContext::hasChanges() const {
    return isAtWork_ && (!inserted_.empty() || !deleted_.empty() ||
                         !container_.environment_.changedObjects.empty());
}

std::vector<const ModelObject*> ModelContext::insertedAndChanged() const {
    std::vector<const ModelObject*> objects;
    const auto take = [&objects](const std::vector<ModelObject*>& candidates) {
        for (const ModelObject* object : candidates) {
            if (object->state() != State::deleted) objects.push_back(object);
        }
    };
    take(inserted_);
    if (isAtWork_) take(container_.environment_.changedObjects);
    return objects;
}

void ModelContext::save() {
    if (!isAtWork_) return;
    if (access_ == Access::read) fatalError("a unit of work that only reads is saved");
    ChangeSet changes;
    for (const ModelObject* object : inserted_) {
        if (object->state() == State::inserted) changes.inserted.push_back(object);
    }
    for (const ModelObject* object : container_.environment_.changedObjects) {
        if (object->state() == State::stored) changes.changed.push_back(object);
    }
    changes.deleted.assign(deleted_.begin(), deleted_.end());
    changes.releasedPayloads = container_.environment_.releasedPayloads;
    try {
        container_.store_->commit(changes);
    } catch (...) {
        rollback();
        throw;
    }
    settle();
}

void ModelContext::settle() noexcept {
    const auto settled = [](ModelObject* object) {
        object->rowChanged_ = false;
        if (object->state_ == State::inserted) object->state_ = State::stored;
    };
    std::for_each(inserted_.begin(), inserted_.end(), settled);
    auto& changed = container_.environment_.changedObjects;
    std::for_each(changed.begin(), changed.end(), settled);
    changed.clear();
    container_.environment_.releasedPayloads.clear();
    if (!deleted_.empty() || !unstored_.empty()) {
        ++container_.populationNumber_;
        for (const auto* leaving : {&deleted_, &unstored_}) {
            for (const ModelObject* object : *leaving) {
                container_.population(object->entity()).remove(*object);
            }
        }
    }
    end();
}

void ModelContext::rollback() noexcept {
    if (!isAtWork_) return;
    const bool changed = hasChanges();
    container_.store_->rollback();
    // Reading everything anew is slow and obviously right; nothing changed means nothing to undo.
    if (changed) container_.forget();
    end();
}

void ModelContext::end() noexcept {
    inserted_.clear();
    deleted_.clear();
    unstored_.clear();
    isAtWork_ = false;
}

}  // namespace kelto
