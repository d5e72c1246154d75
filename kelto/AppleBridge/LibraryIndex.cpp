#include "kelto/AppleBridge/LibraryIndex.hpp"

#include <algorithm>

namespace kelto {

namespace {

template <typename Model>
bool hasChangedSince(const std::vector<Model*>& models, std::uint64_t changeNumber) {
    return std::any_of(models.begin(), models.end(), [&](const Model* model) {
        return model->changeNumber() > changeNumber;
    });
}

}  // namespace

void LibraryIndex::begin(ModelContext& context) {
    const bool wasAgreed = isAgreed_;
    isAgreed_ = false;
    context.begin();
    if (wasAgreed && populationNumber_ == context.populationNumber()) {
        if (othersChangedStructure(context)) noteChangedStructure();
        return;
    }
    noteChangedStructure();
    things = unique(context.fetch<Thing>());
    tags = unique(context.fetch<Tag>());
    projects = unique(context.fetch<Project>());
}

void LibraryIndex::agree(const ModelContext& context) {
    populationNumber_ = context.populationNumber();
    changeNumber_ = context.lastChangeNumber();
    isAgreed_ = true;
}

bool LibraryIndex::othersChangedStructure(ModelContext& context) const {
    if (context.lastChangeNumber() == changeNumber_) return false;
    return hasChangedSince(context.fetch<Project>(), changeNumber_) ||
           hasChangedSince(context.fetch<Tag>(), changeNumber_);
}

}  // namespace kelto
