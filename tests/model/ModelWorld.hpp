#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ObjectEnvironment.hpp"

namespace kelto {

/// Every reading is one second later than the one before, so that each can be told apart.
class TickingClock final : public Clock {
public:
    [[nodiscard]] Date now() override { return {static_cast<double>(++readings)}; }
    [[nodiscard]] std::chrono::nanoseconds uptime() override { return {}; }

    int readings = 0;
};

/// Uuids that count up from 1.
class NumberedRandom final : public Random {
public:
    [[nodiscard]] Uuid uuid() override {
        Uuid uuid;
        uuid.bytes.back() = static_cast<std::uint8_t>(++taken);
        return uuid;
    }
    [[nodiscard]] std::uint64_t bits() override { return static_cast<std::uint64_t>(++taken); }

    int taken = 0;
};

/// Model objects without a store: the world makes them in the order in which it is asked and keeps
/// them until it ends.
class ModelWorld {
public:
    template <typename Model, typename... Arguments>
    Model& make(Arguments&&... arguments) {
        auto made = std::make_unique<Model>(environment, std::forward<Arguments>(arguments)...);
        Model& model = *made;
        objects_.push_back(std::move(made));
        return model;
    }
    Thing& thing(ThingKind kind = ThingKind::note, std::string_view title = "") {
        return make<Thing>(kind, title);
    }
    Tag& tag(std::string_view name) { return make<Tag>(name); }
    Project& project(std::string_view name, Project* parent = nullptr) {
        return make<Project>(name, parent);
    }
    /// A blank object, as the store makes it for a row that it reads.
    template <typename Model>
    Model& blank(std::int64_t row) {
        objects_.push_back(Model::description().make(environment, row));
        return static_cast<Model&>(*objects_.back());
    }

    std::shared_ptr<TickingClock> clock = std::make_shared<TickingClock>();
    std::shared_ptr<NumberedRandom> random = std::make_shared<NumberedRandom>();
    ObjectEnvironment environment{clock, random};

private:
    std::vector<std::unique_ptr<ModelObject>> objects_;
};

inline bool hasChanges(const ModelObject& object) {
    return object.hasChangedRow();
}

}  // namespace kelto
