#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/platform/Diagnostics.hpp"

namespace kelto {

/// Keeps what it is told, if the test wants to know it.
class FakeDiagnostics final : public Diagnostics {
public:
    bool wanted = false;
    std::size_t timesAsked = 0;
    std::vector<DiagnosticEvent> events;

    [[nodiscard]] bool isWanted() override {
        ++timesAsked;
        return wanted;
    }
    void tell(const DiagnosticEvent& event) override { events.push_back(event); }

    /// The stages in the order in which they were told.
    [[nodiscard]] std::vector<std::string> stages() const {
        std::vector<std::string> stages;
        for (const DiagnosticEvent& event : events) stages.emplace_back(event.stage.get());
        return stages;
    }
    /// The last event of a stage.
    [[nodiscard]] const DiagnosticEvent& last(std::string_view stage) const {
        for (auto event = events.rbegin(); event != events.rend(); ++event) {
            if (event->stage.get() == stage) return *event;
        }
        throw std::runtime_error("nothing was told of " + std::string(stage));
    }
    /// A figure of the last event of a stage.
    [[nodiscard]] std::int64_t figure(std::string_view stage, std::string_view name) const {
        for (const DiagnosticFigure& figure : last(stage).figures) {
            if (figure.name.get() == name) return figure.amount;
        }
        throw std::runtime_error(std::string(stage) + " has no " + std::string(name));
    }
};

}  // namespace kelto
