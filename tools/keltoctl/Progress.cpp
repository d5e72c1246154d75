#include "tools/keltoctl/Progress.hpp"

#include <cstdio>

#include <unistd.h>

namespace kelto::ctl {

namespace {
constexpr std::chrono::milliseconds interval(100);
}

Progress::Progress(std::string_view verb, std::size_t total)
    : verb_(verb), total_(total), isShown_(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (isShown_ && done_ > 0) std::fputs("\r\x1b[K", stderr);
}

void Progress::step() {
    ++done_;
    const auto now = std::chrono::steady_clock::now();
    if (!isShown_ || now - lastShown_ < interval) return;
    lastShown_ = now;
    std::fprintf(stderr, "\r\x1b[K%s %zu of %zu", verb_.c_str(), done_, total_);
}

}  // namespace kelto::ctl
