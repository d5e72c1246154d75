#include "kelto/persistence/ModelObject.hpp"

namespace kelto {

void ModelObject::assignPayload(std::optional<Payload>& field,
                                const std::optional<Payload>& value) {
    if (field == value) return;
    if (field && state_ != State::detached) environment_->releasedPayloads.push_back(*field);
    field = value;
    noteChangedRow();
}

void ModelObject::noteChangedRow() {
    derivedDigests_.reset();
    changeNumber_ = environment_->nextChange();
    if (state_ == State::stored && !rowChanged_) environment_->changedObjects.push_back(this);
    rowChanged_ = true;
}

}  // namespace kelto
