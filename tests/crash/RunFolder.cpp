#include "tests/crash/RunFolder.hpp"

#include <filesystem>

#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace fs = std::filesystem;

RunFolder::RunFolder() {
    fs::create_directories(exchange());
}

void RunFolder::copyFrom(const std::string& otherWorld) const {
    fs::remove_all(world());
    fs::copy(otherWorld, world(), fs::copy_options::recursive);
}

std::string RunFolder::withoutPaths(std::string_view response) const {
    return replacingAll(response, replacingAll(world(), "/", "\\/"), "@");
}

}  // namespace kelto
