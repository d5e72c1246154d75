#include "tests/support/Files.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kelto {

namespace fs = std::filesystem;

bool exists(const std::string& path) {
    return fs::exists(path);
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("the test cannot read " + path);
    // In blocks, and on to the end: a file of the kernel's own does not tell its size.
    std::string bytes;
    std::size_t size = 0;
    do {
        bytes.resize(std::max<std::size_t>(64 * 1024, 2 * size));
        file.read(bytes.data() + size, static_cast<std::streamsize>(bytes.size() - size));
        size += static_cast<std::size_t>(file.gcount());
    } while (file);
    bytes.resize(size);
    return bytes;
}

void writeFile(const std::string& path, std::string_view bytes) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes << std::flush;
    if (!file) throw std::runtime_error("the test cannot write " + path);
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    if (!exists(folder)) return names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::map<std::string, std::string> filesBelow(const std::string& folder) {
    std::map<std::string, std::string> files;
    if (!exists(folder)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        files[fs::relative(entry.path(), folder).string()] = readFile(entry.path().string());
    }
    return files;
}

}  // namespace kelto
