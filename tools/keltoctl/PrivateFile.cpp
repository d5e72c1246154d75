#include "tools/keltoctl/PrivateFile.hpp"

#include <array>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ReplacementFile.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t bufferBytes = 1 << 16;

[[noreturn]] void refuse(std::string_view verb, const std::string& path, int errorNumber) {
    throw Refusal(fileSentence(verb, path, errorNumber));
}

}  // namespace

std::string fileSentence(std::string_view verb, std::string_view path, int errorNumber) {
    std::string sentence = "cannot ";
    sentence.append(verb).append(" “").append(path).append("”: ");
    return sentence.append(std::generic_category().message(errorNumber)).append(".");
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string readToEnd(int file, const std::string& name, std::size_t limitBytes) {
    std::string text;
    std::array<char, bufferBytes> buffer;
    while (true) {
        const ssize_t count = ::read(file, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) refuse("read", name, errno);
        if (count == 0) return text;
        const auto bytes = static_cast<std::size_t>(count);
        if (bytes > limitBytes - text.size())
            throw Refusal("“" + name + "” is longer than any request may be; name another file.");
        text.append(buffer.data(), bytes);
    }
}

std::optional<std::string> readTextFile(const std::string& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file && errno == ENOENT) return std::nullopt;
    if (!file) refuse("read", path, errno);
    return readToEnd(file.number(), path, std::numeric_limits<std::size_t>::max());
}

std::optional<std::string> readNamedFile(const std::string& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file && errno == ENOENT) return std::nullopt;
    if (!file) refuse("read", path, errno);
    struct stat found {};
    if (::fstat(file.number(), &found) != 0) refuse("read", path, errno);
    const bool isDevice = S_ISCHR(found.st_mode) || S_ISBLK(found.st_mode);
    if (isDevice && ::isatty(file.number()) != 1)
        throw Refusal("“" + path + "” is a device; name a file.");
    return readToEnd(file.number(), path, documentLimitBytes);
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder;
}

std::int64_t fileSize(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_size : 0;
}

void writeFileAtomically(const std::string& path, std::string_view text) {
    ReplacementFile file(path);
    if (!file || !file.write(text) || !file.takePlace()) refuse("write", path, errno);
}

void makePrivateFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0) return;
    if (errno == ENOENT && path.size() > 1) {
        makePrivateFolder(std::string(withoutLastPathComponent(path)));
        if (::mkdir(path.c_str(), 0700) == 0) return;
    }
    struct stat found {};
    const int reason = errno;
    if (reason == EEXIST && ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) return;
    refuse("make the folder", path, reason);
}

}  // namespace kelto::ctl
