#include "tests/support/FakeMirroringEvents.hpp"

#include <utility>

namespace kelto {

class FakeMirroringEvents::Registration final : public Observation {
public:
    Registration(std::shared_ptr<Observers> observers, std::size_t number)
        : observers_(std::move(observers)), number_(number) {}
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration() override { observers_->erase(number_); }

private:
    std::shared_ptr<Observers> observers_;
    std::size_t number_;
};

std::unique_ptr<MirroringEvents::Observation> FakeMirroringEvents::observe(Observer observer) {
    const std::size_t number = nextNumber_++;
    observers_->emplace(number, std::move(observer));
    return std::make_unique<Registration>(observers_, number);
}

void FakeMirroringEvents::post(const MirroringNotification& notification) {
    const Observers observers = *observers_;  // an observer may end its own observation
    for (const auto& [number, observer] : observers) observer(notification);
}

}  // namespace kelto
