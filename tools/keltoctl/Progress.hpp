#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// One line on standard error that counts, and is gone at the end. Shown on a terminal only, a few
/// times a second.
class Progress {
public:
    Progress(std::string_view verb, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void step();

private:
    std::string verb_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool isShown_;
    std::chrono::steady_clock::time_point lastShown_;
};

}  // namespace kelto::ctl
