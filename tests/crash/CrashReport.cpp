#include "tests/crash/CrashReport.hpp"

#include <exception>
#include <iostream>
#include <utility>

namespace kelto {

namespace {

constexpr std::uint64_t mostPrinted = 40;

long secondsSince(std::chrono::steady_clock::time_point start) {
    const auto passed = std::chrono::steady_clock::now() - start;
    return static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(passed).count());
}

}  // namespace

CrashReport::CrashReport(std::string test, Effort effort)
    : test_(std::move(test)), effort_(std::move(effort)) {}

void CrashReport::run(const std::string& name, const std::function<void()>& work) {
    if (!name.starts_with(effort_.only)) return;
    ++cases_;
    try {
        work();
    } catch (const std::exception& finding) {
        ++findings_;
        if (findings_ <= mostPrinted) {
            std::cout << "FOUND in “" << name << "”: " << finding.what()
                      << "\n  again: crash_tests " << test_ << (effort_.isLong ? " --long" : "")
                      << " --seed " << effort_.seed << " --only “" << name << "”\n"
                      << std::flush;
        }
    }
    printProgress();
}

void CrashReport::printProgress() {
    if (secondsSince(told_) < 10) return;
    told_ = std::chrono::steady_clock::now();
    std::cout << test_ << ": " << cases_ << " cases, " << findings_ << " findings, "
              << secondsSince(start_) << " s\n"
              << std::flush;
}

void CrashReport::skip(const std::string& reason) {
    isSkipped_ = true;
    say("skipped: " + reason);
}

void CrashReport::say(const std::string& line) const {
    std::cout << test_ << ": " << line << '\n' << std::flush;
}

bool CrashReport::finish() const {
    std::cout << test_ << ": " << cases_ << " cases, " << findings_ << " findings, "
              << secondsSince(start_) << " s, seed " << effort_.seed << '\n';
    for (const auto& [what, times] : counts_) std::cout << "  " << times << " " << what << '\n';
    std::cout << std::flush;
    // A test that has not tried anything has not shown anything.
    return cases_ > 0 && findings_ == 0;
}

}  // namespace kelto
