#include "kelto/AppleBridge/MergeNotes.hpp"

namespace kelto {

void MergeNotes::reserve(std::size_t records, const RequestMemory* before) {
    memory_->records.reserve(records);
    if (before == nullptr) return;
    memory_->files.reserve(before->files.size());
    memory_->fileNames.reserve(before->fileNames.size());
}

void MergeNotes::begin(SeenRecord& note) {
    current_ = &note;
    canRepeat_ = true;
    note.firstFile = static_cast<std::uint32_t>(memory_->files.size());
}

void MergeNotes::add(const IncomingFile& file) {
    if (file.place()) {
        addFile(*file.place(), file.payload());
    } else {
        canRepeat_ = false;
    }
}

void MergeNotes::addFile(const FilePlace& place, const Payload& payload) {
    SeenFile& file = memory_->files.emplace_back();
    file.folder = folderNumber(place.folder);
    file.nameOffset = static_cast<std::uint32_t>(memory_->fileNames.size());
    file.nameSize = static_cast<std::uint32_t>(place.name.size());
    file.payload = payload;
    memory_->fileNames += place.name;
    ++current_->fileCount;
}

std::uint32_t MergeNotes::folderNumber(std::string_view path) {
    // Hosts use a few folders over and over, or one for each item: the last few will do.
    constexpr std::size_t few = 8;
    auto& folders = memory_->folders;
    for (std::size_t i = folders.size(); i > 0 && folders.size() - i < few; --i) {
        if (folders[i - 1] == path) return static_cast<std::uint32_t>(i - 1);
    }
    folders.emplace_back(path);
    return static_cast<std::uint32_t>(folders.size() - 1);
}

void MergeNotes::settle() {
    current_->isSettled = canRepeat_;
    current_->changeNumber = current_->object->changeNumber();
}

void MergeNotes::repeat(SeenRecord& note, const SeenRecord& before, const RequestMemory& memory) {
    begin(note);
    for (const SeenFile& file : memory.filesOf(before)) {
        addFile({memory.folders[file.folder], memory.nameOf(file)}, file.payload);
    }
    settle();
}

void MergeNotes::forgetDeleted() {
    for (SeenRecord& note : memory_->records) {
        if (note.object->state() != ModelObject::State::deleted) continue;
        note.object = nullptr;
        note.isSettled = false;
    }
}

void MergeNotes::unsettle() {
    for (SeenRecord& note : memory_->records) note.isSettled = false;
}

}  // namespace kelto
