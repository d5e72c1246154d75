#include "kelto/AppleBridge/RecordList.hpp"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

/// The length of the folder's path in JSON with a slash behind it.
std::size_t folderBytesOf(std::string_view receivedFolder) {
    TextBuffer json;
    appendJsonString(json, std::string(receivedFolder) + '/');
    return json.size() - 2;
}

/// Prints records, each with a comma behind it, into memory that is exactly as long as they are, so
/// that a second thread can print those that come behind them at the same time.
class RecordRun {
public:
    explicit RecordRun(std::span<char> room)
        : start_(room.data()), text_(TextBuffer::within(room.data(), room.size())) {}

    void append(const Thing& thing, std::size_t bytes, std::string_view receivedFolder) {
        // A writer may put a little behind the text, and asks for the room that the text would need
        // if all of it had to be escaped: near the end there is none.
        constexpr std::size_t beside = 64;
        constexpr std::size_t escaped = 6;
        const std::size_t start = text_.size();
        if (text_.roomLeft() >= bytes * (escaped + 1) + beside) {
            appendThingRecord(text_, thing, *thing.derivedDigests(), receivedFolder);
        } else {
            aside_.clear();
            appendThingRecord(aside_, thing, *thing.derivedDigests(), receivedFolder);
            text_.append(aside_.view());
        }
        if (text_.size() - start != bytes) haveTheirLengths_ = false;
        text_.append(',');
    }
    /// Whether each record was as long as it was said to be, and they fill their place.
    [[nodiscard]] bool fits() const {
        return haveTheirLengths_ && text_.roomLeft() == 0 && text_.view().data() == start_;
    }

private:
    const char* start_;
    TextBuffer text_;
    TextBuffer aside_;
    bool haveTheirLengths_ = true;
};

}  // namespace

RecordList::RecordList(std::string_view receivedFolder)
    : receivedFolder_(receivedFolder), folderBytes_(folderBytesOf(receivedFolder)) {}

void RecordList::append(const Project& project) {
    separate();
    RecordWriter record = base(text_, "Project", project.uuid(), project.createdAt());
    record.text("name", project.name());
    record.integer("sortOrder", project.sortOrder());
    record.text("linkedFolderOwner", project.linkedFolderOwner());
    if (project.parent() != nullptr) record.identifier("parent", project.parent()->uuid());
    record.close();
}

void RecordList::append(const Tag& tag) {
    separate();
    RecordWriter record = base(text_, "Tag", tag.uuid(), tag.createdAt());
    record.text("name", tag.name());
    record.close();
}

void RecordList::append(std::span<Thing* const> things, std::size_t bytesBehind) {
    if (things.empty()) return;
    separate();
    if (tryToAppend(things, bytesBehind)) return;
    // The lengths may be those that the store told of, and a store can be made to tell anything.
    for (const Thing* thing : things) thing->remember(computedFingerprints(*thing));
    if (tryToAppend(things, bytesBehind)) return;
    fatalError("a record has another length than was worked out");
}

bool RecordList::tryToAppend(std::span<Thing* const> things, std::size_t bytesBehind) {
    // Where each so many of them begin is known before they are printed: any thread can print any.
    constexpr std::size_t stride = 128;
    std::vector<std::size_t> starts;
    starts.reserve(things.size() / stride + 2);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) fetchObject(*things[i + objectsAhead]);
        if (i % stride == 0) starts.push_back(bytes);
        bytes += bytesOf(*things[i]) + std::string_view(",").size();
    }
    starts.push_back(bytes);
    char* const room = text_.room(bytes + bytesBehind);
    std::atomic<bool> fits = true;
    shareWork(things.size(), stride, [&](std::size_t begin, std::size_t end) {
        const std::size_t number = begin / stride;
        const std::span place(room + starts[number], starts[number + 1] - starts[number]);
        if (!print(things.subspan(begin, end - begin), place)) fits = false;
    });
    if (!fits) return false;
    const std::size_t lastComma = 1;
    text_.commit(room + bytes - lastComma);
    return true;
}

void RecordList::appendAlone(const Thing& thing, TextBuffer& text) const {
    appendThingRecord(text, thing, *thing.derivedDigests(), receivedFolder_);
}

std::size_t RecordList::bytesOf(const Thing& thing) const {
    return thingRecordBytes(thing, *thing.derivedDigests(), folderBytes_);
}

bool RecordList::print(std::span<Thing* const> things, std::span<char> room) const {
    RecordRun run(room);
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) fetchObject(*things[i + objectsAhead]);
        if (i + textsAhead < things.size()) fetchTexts(*things[i + textsAhead]);
        run.append(*things[i], bytesOf(*things[i]), receivedFolder_);
    }
    return run.fits();
}

void RecordList::separate() {
    if (std::exchange(hasRecords_, true)) text_.append(',');
}

}  // namespace kelto
