#pragma once

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kelto::ctl {

/// How a folder is opened to look into it: itself, never what a link in its place leads to.
inline constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// An open file, closed at the end of its scope. Negative: none.
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~FileDescriptor() {
        if (number_ >= 0) ::close(number_);
    }

    [[nodiscard]] int number() const { return number_; }
    [[nodiscard]] explicit operator bool() const { return number_ >= 0; }
    /// Closes now and says whether the system accepted everything written: some file systems only
    /// report a full disk here.
    [[nodiscard]] bool close() { return ::close(std::exchange(number_, -1)) == 0; }
    /// Gives the number away; the caller closes it.
    [[nodiscard]] int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

}  // namespace kelto::ctl
