#include "benchmarks/FloorFiles.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/Bytes.hpp"

namespace kelto::bench {

namespace {

constexpr std::size_t bufferBytes = std::size_t{256} * 1024;

[[noreturn]] void refuse(const std::string& what) {
    throw std::runtime_error("the floor cannot use " + what + ": " + std::strerror(errno));
}

void writeAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(file, bytes, size);
        if (written <= 0) refuse("a file that it writes");
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

}  // namespace

Descriptor::Descriptor(int number, const std::string& what) : number_(number) {
    if (number < 0) refuse(what);
}

Descriptor::~Descriptor() {
    if (number_ >= 0) ::close(number_);
}

Descriptor::Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

FloorFiles::FloorFiles(const std::string& exchangeFolder, const std::string& scratchFolder)
    : payloads_(::open((scratchFolder + "/payloads").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600),
                scratchFolder),
      buffer_(bufferBytes, 'x') {
    for (const char* name : {"/received/", "/incoming/"}) open(exchangeFolder + name);
}

void FloorFiles::open(const std::string& prefix) {
    const int number = ::open(prefix.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (number < 0 && errno == ENOENT) return;
    folders_.push_back({prefix, Descriptor(number, prefix)});
}

void FloorFiles::writeInto(const std::string& folder) {
    ::mkdir(folder.c_str(), 0700);
    outgoing_.clear();
    outgoing_.emplace_back(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), folder);
}

int FloorFiles::locate(std::string_view path) {
    for (const Folder& folder : folders_) {
        if (!path.starts_with(folder.prefix)) continue;
        name_ = path.substr(folder.prefix.size());
        return folder.descriptor.number();
    }
    throw std::runtime_error("a payload lies outside of the exchange folder");
}

std::size_t FloorFiles::examine(std::string_view path) {
    struct stat state {};
    const int folder = locate(path);
    if (::fstatat(folder, name_.c_str(), &state, 0) != 0) refuse(name_);
    return static_cast<std::size_t>(state.st_size);
}

Digest FloorFiles::take(std::string_view path, std::size_t size) {
    const int folder = locate(path);
    const Descriptor source(::openat(folder, name_.c_str(), O_RDONLY | O_CLOEXEC), name_);
    for (std::size_t left = size; left > 0;) {
        const ssize_t got = ::read(source.number(), buffer_.data(), std::min(left, buffer_.size()));
        if (got <= 0) refuse(name_);
        const auto count = static_cast<std::size_t>(got);
        hash_.update(bytesOf(std::string_view(buffer_).substr(0, count)));
        writeAll(payloads_.number(), buffer_.data(), count);
        left -= count;
    }
    return hash_.finish();
}

void FloorFiles::give(std::string_view path, std::size_t size) {
    static_cast<void>(locate(path));
    const Descriptor copy = create();
    for (std::size_t left = size; left > 0;) {
        const std::size_t count = std::min(left, buffer_.size());
        writeAll(copy.number(), buffer_.data(), count);
        left -= count;
    }
}

Descriptor FloorFiles::create() {
    const int number = ::openat(
        outgoing_.back().number(), name_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    return Descriptor(number, name_);
}

void FloorFiles::flush() {
    if (::fdatasync(payloads_.number()) != 0) refuse("its payloads");
}

}  // namespace kelto::bench
