#include "kelto/persistence/PayloadStorage.hpp"

#include <exception>
#include <utility>

namespace kelto {

ReceivedPayload::ReceivedPayload(Payload payload, std::string bytes)
    : payload_(payload), size_(bytes.size()), bytes_(std::move(bytes)) {}

ReceivedPayload::ReceivedPayload(Payload payload,
                                 std::uint64_t size,
                                 FileSystem& files,
                                 std::unique_ptr<File> temporary)
    : payload_(payload), size_(size), files_(&files), temporary_(std::move(temporary)) {}

ReceivedPayload::~ReceivedPayload() {
    if (!temporary_) return;
    try {
        files_->remove(temporary_->path());
    } catch (const std::exception&) {
        // A stray: swept when the store is opened next.
    }
}

}  // namespace kelto
