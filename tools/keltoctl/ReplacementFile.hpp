#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/keltoctl/FileDescriptor.hpp"

namespace kelto::ctl {

/// A file that is written before it has a name, readable by the user alone, and takes its name when
/// it is complete: nobody ever reads half of it, and nothing is left of it when the program is
/// killed. (Where the file system has no files without a name, it is written beside the one it is
/// to become.) Where something fails, errno says why.
class ReplacementFile {
public:
    /// `target` is the name it is to have; false afterwards when it could not be made.
    explicit ReplacementFile(std::string target);
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    [[nodiscard]] explicit operator bool() const { return static_cast<bool>(descriptor_); }
    [[nodiscard]] bool write(std::string_view bytes);

    enum class Present : std::uint8_t {
        replace,
        keep  ///< where there is something of that name, also since a moment ago: EEXIST
    };
    /// Nothing is written afterwards.
    [[nodiscard]] bool takePlace(Present present = Present::replace);

private:
    [[nodiscard]] bool takeName(const std::string& name);
    [[nodiscard]] bool takeNameBeside();
    [[nodiscard]] bool takeFreePlace();

    std::string target_;
    std::string path_;  ///< where it is now; empty: without a name, or in its place
    FileDescriptor descriptor_;
};

}  // namespace kelto::ctl
