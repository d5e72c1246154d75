#include "kelto/platform/FileDigest.hpp"

#include <cstddef>
#include <vector>

#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

FileDigest digestToEnd(File& source, const std::function<void(std::uint64_t)>& progress) {
    std::vector<std::byte> buffer(transferBufferBytes);
    Sha256 digest;
    std::uint64_t size = 0;
    while (const std::size_t count = source.read(buffer)) {
        digest.update(Bytes(buffer).first(count));
        size += count;
        if (progress) progress(count);
    }
    return {size, digest.finish()};
}

}  // namespace kelto
