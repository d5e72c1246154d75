#include "kelto/AppleBridge/ExchangeReport.hpp"

#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

namespace {

constexpr std::int64_t unreadableText = 3840;
constexpr std::int64_t incompatibleStore = 134100;

FixedText wordFor(const PlatformError& error) {
    if (error.domain() == errorDomain::sqlite) return "store";
    if (error.domain() == errorDomain::cloudKit) return "account";
    if (error.domain() != errorDomain::cocoa) return "other";
    if (error.code() == unreadableText) return "unreadable-request";
    return error.code() == incompatibleStore ? FixedText("store") : FixedText("file");
}

}  // namespace

ExchangeReport::ExchangeReport(Diagnostics& diagnostics, Clock& clock, std::int64_t exchange)
    : diagnostics_(diagnostics.isWanted() ? &diagnostics : nullptr),
      exchange_(exchange),
      watch_(clock) {
    (void)newWork();
}

void ExchangeReport::received(std::size_t bytes, std::size_t records) {
    stages_.reading = lap();
    const WorkCounters work = newWork();
    tell("received",
         stages_.reading,
         {{"bytes", std::int64_t(bytes)},
          {"records", std::int64_t(records)},
          {"read", std::int64_t(work[Work::recordsRead])}});
}

void ExchangeReport::opened() {
    stages_.opening = lap();
    const WorkCounters work = newWork();
    tell("opened", stages_.opening, {{"loaded", std::int64_t(work[Work::objectsLoaded])}});
}

void ExchangeReport::merged(const MergeCounts& counts) {
    stages_.merging = lap();
    const WorkCounters work = newWork();
    payloadRows_ = work[Work::rowsWritten];
    tell("merged",
         stages_.merging,
         {{"created", std::int64_t(counts.created)},
          {"applied", std::int64_t(counts.applied)},
          {"kept", std::int64_t(counts.kept)},
          {"skipped", std::int64_t(counts.skipped)},
          {"conflicts", std::int64_t(counts.conflicts)},
          {"deleted", std::int64_t(counts.deleted)},
          {"files", std::int64_t(work[Work::filesExamined])},
          {"bytes", std::int64_t(work[Work::payloadBytesRead])}});
}

void ExchangeReport::saved() {
    stages_.saving = lap();
    const WorkCounters work = newWork();
    tell("saved", stages_.saving, {{"rows", std::int64_t(payloadRows_ + work[Work::rowsWritten])}});
}

void ExchangeReport::exported(std::size_t records) {
    stages_.exporting = lap();
    const WorkCounters work = newWork();
    tell("exported",
         stages_.exporting,
         {{"records", std::int64_t(records)},
          {"files", std::int64_t(work[Work::filesWritten])},
          {"bytes", std::int64_t(work[Work::payloadBytesWritten])}});
}

void ExchangeReport::answered(std::size_t bytes) {
    (void)lap();
    tell("answered", total_, {{"bytes", std::int64_t(bytes)}});
}

void ExchangeReport::refused(const std::exception& error) {
    (void)lap();
    if (const auto* failure = dynamic_cast<const PlatformError*>(&error)) {
        tell("refused", total_, {{"code", failure->code()}}, wordFor(*failure));
        return;
    }
    const auto* refused = dynamic_cast<const BridgeError*>(&error);
    const bool isKnown = refused != nullptr && refused->refusal();
    tell("refused", total_, {}, isKnown ? wordFor(*refused->refusal()) : FixedText("other"));
}

std::chrono::nanoseconds ExchangeReport::lap() {
    const auto time = watch_.lap();
    total_ += time;
    return time;
}

WorkCounters ExchangeReport::newWork() {
    if (diagnostics_ == nullptr) return {};
    const WorkCounters now = workSoFar();
    return now - std::exchange(work_, now);
}

void ExchangeReport::tell(FixedText stage,
                          std::chrono::nanoseconds time,
                          std::initializer_list<DiagnosticFigure> figures,
                          FixedText refusal) const {
    if (diagnostics_ == nullptr) return;
    diagnostics_->tell({stage, exchange_, time, figures, refusal});
}

}  // namespace kelto
