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

ReceivedPayload::ReceivedPayload(Payload payload, std::uint64_t size, std::unique_ptr<File> unread)
    : payload_(payload), size_(size), unread_(std::move(unread)) {}

ReceivedPayload& ReceivedPayload::operator=(ReceivedPayload&& other) noexcept {
    std::swap(payload_, other.payload_);
    std::swap(size_, other.size_);
    std::swap(bytes_, other.bytes_);
    std::swap(files_, other.files_);
    std::swap(temporary_, other.temporary_);
    std::swap(unread_, other.unread_);
    return *this;
}

ReceivedPayload::~ReceivedPayload() {
    if (!temporary_) return;
    try {
        files_->remove(temporary_->path());
    } catch (const std::exception&) {
        // A stray: swept when the store is opened next.
    }
}

}  // namespace kelto
