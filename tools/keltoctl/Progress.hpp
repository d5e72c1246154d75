#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// What of something is done, and since when.
struct ProgressState {
    std::uint64_t done = 0;
    std::uint64_t all = 0;
    std::chrono::milliseconds since{};
};

/// "Reading 3 of 7 files, 12 a second, 1 s left". How fast it goes and how long it will take is
/// left out as long as nobody can know.
[[nodiscard]] std::string progressText(std::string_view verb, const ProgressState& state);
/// "Checking 1.2 MB of 3.4 GB, 50 MB a second, 1 min 7 s left"
[[nodiscard]] std::string byteProgressText(std::string_view verb, const ProgressState& state);

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
    /// Since it was made.
    [[nodiscard]] std::chrono::milliseconds age() const;

private:
    bool isTerminal_;
    bool isShown_ = false;
    std::chrono::steady_clock::time_point begun_;
    std::chrono::steady_clock::time_point lastShown_;
};

/// Files that are worked on one after the other.
class Progress {
public:
    Progress(std::string_view verb, std::size_t total) : verb_(verb), total_(total) {}

    void step();

private:
    std::string verb_;
    std::size_t total_;
    std::size_t done_ = 0;
    ProgressLine line_;
};

/// Bytes that are worked on.
class ByteProgress {
public:
    explicit ByteProgress(std::string_view verb) : verb_(verb) {}

    void reach(std::uint64_t done, std::uint64_t all);

private:
    std::string verb_;
    ProgressLine line_;
};

}  // namespace kelto::ctl
