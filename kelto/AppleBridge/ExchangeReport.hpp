#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>

#include "kelto/AppleBridge/ExchangeStages.hpp"
#include "kelto/AppleBridge/MergeCounts.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/platform/Diagnostics.hpp"

namespace kelto {

/// Follows one exchange from stage to stage: measures their times, and tells each of them to the
/// diagnostics if somebody wanted to know when the exchange began.
class ExchangeReport {
public:
    /// What is given is borrowed.
    ExchangeReport(Diagnostics& diagnostics, Clock& clock, std::int64_t exchange);

    // Each is called right after its stage.
    void received(std::size_t bytes, std::size_t records);
    void opened();
    void merged(const MergeCounts& counts);
    void saved();
    void exported(std::size_t records);
    void answered(std::size_t bytes);
    /// Instead of all that would still have come.
    void refused(const std::exception& error);

    [[nodiscard]] const ExchangeStages& stages() const { return stages_; }

private:
    [[nodiscard]] std::chrono::nanoseconds lap();
    /// The work since this was last asked; nothing while nobody wants to know.
    [[nodiscard]] WorkCounters newWork();
    void tell(FixedText stage,
              std::chrono::nanoseconds time,
              std::initializer_list<DiagnosticFigure> figures,
              FixedText refusal = "") const;

    Diagnostics* diagnostics_;  // nullptr: nobody wants to know
    std::int64_t exchange_;
    StageWatch watch_;
    ExchangeStages stages_;
    std::chrono::nanoseconds total_{};
    WorkCounters work_;
    std::uint64_t payloadRows_ = 0;  // written while merging, as soon as a payload had come
};

}  // namespace kelto
