#include "tests/support/TemporaryFolder.hpp"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <stdlib.h>

#include "kelto/foundation/FilePath.hpp"

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
    std::ofstream file(target, std::ios::binary | std::ios::trunc);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + target);
    return target;
}

std::string TemporaryFolder::read(std::string_view name) const {
    std::ifstream file(path(name), std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path(name));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace kelto
