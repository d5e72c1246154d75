#include "tests/crash/RunFolder.hpp"

#include <filesystem>

#include "kelto/foundation/Text.hpp"
#include "tests/support/RequestBuilder.hpp"

namespace kelto {

namespace fs = std::filesystem;

RunFolder::RunFolder() {
    fs::create_directories(exchange());
}

std::string RunFolder::emptyRequest() const {
    return RequestBuilder().text(store(), exchange());
}

void RunFolder::copyFrom(const std::string& otherWorld) const {
    fs::remove_all(world());
    fs::copy(otherWorld, world(), fs::copy_options::recursive);
}

std::string RunFolder::withoutPaths(std::string_view response) const {
    return replacingAll(response, replacingAll(world(), "/", "\\/"), "@");
}

}  // namespace kelto
