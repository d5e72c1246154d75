#include "tests/support/TemporaryFolder.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <stdlib.h>

#include "kelto/foundation/FilePath.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string name = fs::canonical(fs::temp_directory_path()) / "kelto-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot make " + name);
    }
    path_ = std::move(name);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::path(std::string_view name) const {
    return joinedPath(path_, name);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view contents) const {
    std::string target = path(name);
    writeFile(target, contents);
    return target;
}

std::string TemporaryFolder::read(std::string_view name) const {
    return readFile(path(name));
}

}  // namespace kelto
