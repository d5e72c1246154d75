#include "tools/keltoctl/FileCopy.hpp"

#include <array>
#include <cerrno>
#include <string_view>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

void copyContents(int source,
                  const std::string& sourceName,
                  int target,
                  const std::string& targetName) {
    if (::ioctl(target, FICLONE, source) == 0) return;
    std::array<char, 1 << 16> buffer;
    while (true) {
        const ssize_t count = ::read(source, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Refusal(fileSentence("read", sourceName, errno));
        if (count == 0) return;
        if (!writeAll(target, std::string_view(buffer.data(), static_cast<std::size_t>(count))))
            throw Refusal(fileSentence("write", targetName, errno));
    }
}

}  // namespace kelto::ctl
