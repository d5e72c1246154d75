#pragma once

#include <string>
#include <string_view>

#include "tools/keltoctl/FileDescriptor.hpp"

namespace kelto::ctl {

/// A file that is written beside the one it is to become, readable by the user alone, and takes
/// that one's name when it is complete: nobody ever reads half of it. Removed again unless it took
/// its place. Where something fails, errno says why.
class ReplacementFile {
public:
    /// `target` is the name it is to have; false afterwards when it could not be made.
    explicit ReplacementFile(std::string target);
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    [[nodiscard]] explicit operator bool() const { return static_cast<bool>(descriptor_); }
    [[nodiscard]] bool write(std::string_view bytes);
    /// Nothing is written afterwards.
    [[nodiscard]] bool takePlace();

private:
    std::string target_;
    std::string path_;
    FileDescriptor descriptor_;
    bool isRemoved_ = false;  ///< or never was there
};

}  // namespace kelto::ctl
