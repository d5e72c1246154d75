#pragma once

#include <string>

namespace kelto::ctl {

/// What a command is asked to write, and where.
struct NewFile {
    std::string path;
    std::string noun;         ///< "page": what is written, in sentences
    std::string example;      ///< "library.html"
    bool mayReplace = false;  ///< a file that is there
    std::string storePath;    ///< of the library, whose own files are never replaced
};

/// Refuses a name that nothing can be written under, before any work is done for it: a folder, one
/// without a folder, and what is there unless it may be replaced; a device, a pipe and the
/// library's own files never are. Throws Refusal.
void requireFreeName(const NewFile& file);

/// The sentence for a name that was taken.
[[nodiscard]] std::string takenSentence(const std::string& path);

}  // namespace kelto::ctl
