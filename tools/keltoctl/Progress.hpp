#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// One line on standard error that is gone at the end. Shown on a terminal only, a few times a
/// second.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Whether it is time for another text.
    [[nodiscard]] bool isDue();
    void show(const std::string& text);

private:
    bool isTerminal_;
    bool isShown_ = false;
    std::chrono::steady_clock::time_point lastShown_;
};

/// "Importing 3 of 7".
class Progress {
public:
    Progress(std::string_view verb, std::size_t total);

    void step();

private:
    std::string verb_;
    std::size_t total_;
    std::size_t done_ = 0;
    ProgressLine line_;
};

/// "Checking 1.2 MB of 3.4 GB".
class ByteProgress {
public:
    explicit ByteProgress(std::string_view verb) : verb_(verb) {}

    void reach(std::uint64_t done, std::uint64_t all);

private:
    std::string verb_;
    ProgressLine line_;
};

}  // namespace kelto::ctl
