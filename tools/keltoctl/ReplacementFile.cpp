#include "tools/keltoctl/ReplacementFile.hpp"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/PrivateFile.hpp"

namespace kelto::ctl {

ReplacementFile::ReplacementFile(std::string target)
    : target_(std::move(target)), path_(target_ + ".XXXXXX") {
    descriptor_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));  // made with mode 0600
    isRemoved_ = !descriptor_;
}

ReplacementFile::~ReplacementFile() {
    if (!isRemoved_) ::unlink(path_.c_str());
}

bool ReplacementFile::write(std::string_view bytes) {
    return writeAll(descriptor_.number(), bytes);
}

bool ReplacementFile::takePlace() {
    if (::fsync(descriptor_.number()) != 0 || !descriptor_.close() ||
        std::rename(path_.c_str(), target_.c_str()) != 0)
        return false;
    isRemoved_ = true;
    // Without this a power cut could bring the old name back, which is no harm but a surprise.
    const std::string folder(withoutLastPathComponent(target_));
    const FileDescriptor opened(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) ::fsync(opened.number());
    return true;
}

}  // namespace kelto::ctl
