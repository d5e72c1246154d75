#pragma once

#include <cstddef>
#include <map>

#include "kelto/platform/MirroringEvents.hpp"

namespace kelto {

/// Mirroring events that the test posts itself.
class FakeMirroringEvents final : public MirroringEvents {
public:
    [[nodiscard]] std::unique_ptr<Observation> observe(Observer observer) override;

    /// Calls every observer of this moment, in the order in which they began.
    void post(const MirroringNotification& notification);
    [[nodiscard]] std::size_t observerCount() const { return observers_->size(); }

private:
    using Observers = std::map<std::size_t, Observer>;
    class Registration;

    // Shared with the observations: a test may well end them after the source.
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
    std::size_t nextNumber_ = 0;
};

}  // namespace kelto
