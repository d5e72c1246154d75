#include "tools/keltoctl/Bridge.hpp"

#include <cstdint>
#include <memory>

#include <glib.h>

#include "include/kelto_apple.h"

namespace kelto::ctl {

namespace {

using Answer = std::optional<std::string>;

// The response is lent for this call only, so it is copied before anything else happens.
extern "C" void keepAnswer(std::intptr_t context, const char* response) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface carries a pointer as an integer.
    reinterpret_cast<Answer*>(context)->emplace(response);
}

}  // namespace

std::optional<std::string> Bridge::groupPath() {
    const std::unique_ptr<char, void (*)(void*)> path(kelto_apple_group_path(), &kelto_apple_free);
    if (!path) return std::nullopt;
    return std::string(path.get());
}

bool Bridge::cloudAvailable() {
    return kelto_apple_cloud_available() != 0;
}

std::string Bridge::exchange(std::string_view request) {
    Answer answer;
    kelto_apple_exchange(
        std::string(request).c_str(), reinterpret_cast<std::intptr_t>(&answer), &keepAnswer);
    while (!answer) g_main_context_iteration(nullptr, TRUE);
    return *std::move(answer);
}

}  // namespace kelto::ctl
