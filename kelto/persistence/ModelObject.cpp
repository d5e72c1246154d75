#include "kelto/persistence/ModelObject.hpp"

namespace kelto {

void ModelObject::assignPayload(HeldPayload& field, const std::optional<Payload>& value) {
    const std::optional<Payload> before = field.value();
    if (before == value) return;
    if (before && state_ != State::detached) environment_->releasedPayloads.push_back(*before);
    field = value;
    noteChangedRow();
}

void ModelObject::noteChangedRow() {
    renew();
    if (state_ == State::stored && !rowChanged_) environment_->changedObjects.push_back(this);
    rowChanged_ = true;
}

void ModelObject::renew() {
    digestState_ = DigestState::none;
    changeNumber_ = environment_->nextChange();
}

}  // namespace kelto
