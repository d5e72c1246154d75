#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace kelto {

/// How much a crash test does: all that there is, or as much as fits between two edits.
struct Effort {
    bool isLong = false;
    std::uint64_t seed = 1;
    std::string only;  ///< Only cases whose name begins so; empty: all.

    /// About how many cases of an enumeration are tried; 0: all.
    struct Sample {
        std::size_t shortForm = 0;
        std::size_t longForm = 0;
    };
    /// One of how many cases that is.
    [[nodiscard]] std::size_t stride(std::size_t cases, const Sample& sample) const {
        const std::size_t wanted = isLong ? sample.longForm : sample.shortForm;
        return wanted == 0 || cases <= wanted ? 1 : cases / wanted;
    }
};

/// Counts cases and findings, and says so in plain words.
class CrashReport {
public:
    CrashReport(std::string test, Effort effort);

    /// One case. Whatever it throws is a finding, printed with the case's name.
    void run(const std::string& name, const std::function<void()>& work);
    void count(const std::string& what, std::uint64_t times = 1) { counts_[what] += times; }
    /// A line for the reader, not a case.
    void say(const std::string& line) const;
    /// Nothing can be tried here, for this reason.
    void skip(const std::string& reason);
    /// Prints the counts; whether there was at least one case and nothing was found.
    [[nodiscard]] bool finish() const;
    [[nodiscard]] bool isSkipped() const { return isSkipped_; }
    [[nodiscard]] const Effort& effort() const { return effort_; }

private:
    void printProgress();

    std::string test_;
    Effort effort_;
    std::uint64_t cases_ = 0;
    std::uint64_t findings_ = 0;
    bool isSkipped_ = false;
    std::map<std::string, std::uint64_t> counts_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point told_ = start_;
};

// The tests. Each says what it does and what came of it, through its report.

void testKills(CrashReport& report);
void testPowerCuts(CrashReport& report);
void testFaults(CrashReport& report);
void testFullDisks(CrashReport& report);

}  // namespace kelto
