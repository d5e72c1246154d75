#include "tools/keltoctl/Progress.hpp"

#include <cstdio>

#include <unistd.h>

#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {
constexpr std::chrono::milliseconds interval(100);
}

ProgressLine::ProgressLine() : isTerminal_(::isatty(STDERR_FILENO) == 1) {}

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
    std::fprintf(stderr, "\r\x1b[K%s", text.c_str());
    isShown_ = true;
}

Progress::Progress(std::string_view verb, std::size_t total) : verb_(verb), total_(total) {}

void Progress::step() {
    ++done_;
    if (!line_.isDue()) return;
    line_.show(verb_ + " " + std::to_string(done_) + " of " + std::to_string(total_));
}

void ByteProgress::reach(std::uint64_t done, std::uint64_t all) {
    if (!line_.isDue()) return;
    line_.show(verb_ + " " + byteCount(static_cast<std::int64_t>(done)) + " of " +
               byteCount(static_cast<std::int64_t>(all)));
}

}  // namespace kelto::ctl
