#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "kelto/AppleBridge/AppleStore.hpp"
#include "kelto/AppleBridge/CloudAvailability.hpp"
#include "kelto/AppleBridge/ExchangeDispatch.hpp"
#include "kelto/AppleBridge/RequestIntake.hpp"
#include "kelto/platform/Platform.hpp"
#include "kelto_apple.h"

namespace {

// Nothing may unwind into a host that is perhaps not C++: where memory ends, the process does.

char* copiedGroupPath() noexcept {
    const std::optional<std::string> path = kelto::groupPath(kelto::Platform::current());
    return path ? ::strdup(path->c_str()) : nullptr;
}

std::int32_t cloudAvailability() noexcept {
    return kelto::cloudAvailable(kelto::Platform::current());
}

kelto::RequestIntake& requestIntake() {
    static auto& intake = *new kelto::RequestIntake();  // never destroyed, like the store
    return intake;
}

void startExchange(const char* request,
                   std::intptr_t context,
                   kelto_apple_callback callback) noexcept {
    // The store is first touched inside the task, on the main thread that it belongs to.
    const auto exchange = [](kelto::LargeText text) {
        return kelto::AppleStore::shared().exchange(std::move(text));
    };
    kelto::dispatchExchange(kelto::Platform::current(),
                            exchange,
                            requestIntake(),
                            request == nullptr ? "" : request,
                            context,
                            callback);
}

}  // namespace

extern "C" {

char* kelto_apple_group_path(void) {
    return copiedGroupPath();
}

void kelto_apple_free(void* pointer) {
    std::free(pointer);
}

std::int32_t kelto_apple_cloud_available(void) {
    return cloudAvailability();
}

void kelto_apple_exchange(const char* request,
                          std::intptr_t context,
                          kelto_apple_callback callback) {
    startExchange(request, context, callback);
}

}  // extern "C"
