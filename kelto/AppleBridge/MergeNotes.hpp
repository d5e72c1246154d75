#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kelto/AppleBridge/AssetReader.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"

namespace kelto {

/// Notes down, while records are merged, what will tell at the next request which of them need not
/// be merged again: live records in their order, one after the other.
class MergeNotes {
public:
    /// Takes memory for so many records, and for as many files as the request `before`, if there
    /// was one, has named.
    void reserve(std::size_t records, const RequestMemory* before);
    SeenRecord& add(const SeenRecord& note) { return memory_->records.emplace_back(note); }
    /// nullptr behind the last one.
    [[nodiscard]] const SeenRecord* find(std::size_t place) const {
        return place < memory_->records.size() ? &memory_->records[place] : nullptr;
    }
    [[nodiscard]] SeenRecord& at(std::size_t place) { return memory_->records[place]; }

    /// Begins the merging of a record.
    void begin(SeenRecord& note);
    /// A file that the record names.
    void add(const IncomingFile& file);
    /// The record was merged, and left its object as it is now.
    void settle();
    /// The record was not merged, since nothing has changed since `before` noted it down.
    void repeat(SeenRecord& note, const SeenRecord& before, const RequestMemory& memory);

    /// Objects that were deleted will not be found where the notes say.
    void forgetDeleted();
    /// What the records depend on has changed while they were merged.
    void unsettle();

    [[nodiscard]] std::unique_ptr<RequestMemory> take() { return std::move(memory_); }

private:
    void addFile(const FilePlace& place, const Payload& payload);
    [[nodiscard]] std::uint32_t folderNumber(std::string_view path);

    std::unique_ptr<RequestMemory> memory_ = std::make_unique<RequestMemory>();
    SeenRecord* current_ = nullptr;
    bool canRepeat_ = false;  // every file of the current record can be asked for again
};

}  // namespace kelto
