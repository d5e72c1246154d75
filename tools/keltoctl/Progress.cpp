#include "tools/keltoctl/Progress.hpp"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/Terminal.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

constexpr std::chrono::milliseconds interval(100);
/// What is faster than this is over before anybody could have used an estimate.
constexpr std::chrono::milliseconds leastTime(1000);

bool canEstimate(const ProgressState& state) {
    return state.done > 0 && state.since >= leastTime;
}

double perSecond(const ProgressState& state) {
    return static_cast<double>(state.done) * 1000 / static_cast<double>(state.since.count());
}

std::string timeLeft(const ProgressState& state) {
    const std::uint64_t left = state.all - std::min(state.all, state.done);
    const double milliseconds = static_cast<double>(left) *
                                static_cast<double>(state.since.count()) /
                                static_cast<double>(state.done);
    return ", " + duration(static_cast<std::int64_t>(milliseconds)) + " left";
}

}  // namespace

std::string progressText(std::string_view verb, const ProgressState& state) {
    std::string text =
        std::string(verb) + " " + std::to_string(state.done) + " of " + counted(state.all, "file");
    if (!canEstimate(state)) return text;
    const double rate = perSecond(state);
    if (rate >= 1) text += ", " + std::to_string(static_cast<std::uint64_t>(rate)) + " a second";
    return text + timeLeft(state);
}

std::string byteProgressText(std::string_view verb, const ProgressState& state) {
    std::string text = std::string(verb) + " " + byteCount(static_cast<std::int64_t>(state.done)) +
                       " of " + byteCount(static_cast<std::int64_t>(state.all));
    if (!canEstimate(state)) return text;
    return text + ", " + byteCount(static_cast<std::int64_t>(perSecond(state))) + " a second" +
           timeLeft(state);
}

ProgressLine::ProgressLine()
    : isTerminal_(::isatty(STDERR_FILENO) == 1), begun_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
    if (isShown_) std::fputs("\r\x1b[K", stderr);
}

bool ProgressLine::isDue() {
    if (!isTerminal_) return false;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastShown_ < interval) return false;
    lastShown_ = now;
    return true;
}

void ProgressLine::show(const std::string& text) {
    // A line that breaks could not be taken back.
    const auto width = terminalWidth(STDERR_FILENO);
    const std::string shown = width ? cutTo(text, *width - 1) : text;
    std::fprintf(stderr, "\r\x1b[K%s", shown.c_str());
    isShown_ = true;
}

std::chrono::milliseconds ProgressLine::age() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begun_);
}

void Progress::step() {
    ++done_;
    if (line_.isDue()) line_.show(progressText(verb_, {done_, total_, line_.age()}));
}

void ByteProgress::reach(std::uint64_t done, std::uint64_t all) {
    if (line_.isDue()) line_.show(byteProgressText(verb_, {done, all, line_.age()}));
}

}  // namespace kelto::ctl
