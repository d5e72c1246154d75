#include "kelto/AppleBridge/RecordList.hpp"

#include <utility>

#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

/// What a thing's record takes, a little more than usual.
constexpr std::size_t expectedRecordBytes = 1100;

}  // namespace

void RecordList::reserve(std::size_t things) {
    text_.reserve(things * expectedRecordBytes);
}

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

void RecordList::append(const Thing& thing) {
    separate();
    appendThingRecord(text_, thing, *thing.derivedDigests(), receivedFolder_);
}

void RecordList::appendAll(std::span<Thing* const> things) {
    if (things.size() < 2 * worthAThread) return appendEach(things);
    const std::span<Thing* const> others = things.subspan(things.size() / 2);
    RecordList rest(receivedFolder_);
    doBoth([&] { appendEach(things.first(things.size() / 2)); },
           [&] {
               rest.reserve(others.size());
               rest.appendEach(others);
           });
    separate();
    text_.append(rest.text_.view());
}

void RecordList::appendEach(std::span<Thing* const> things) {
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) fetchObject(*things[i + objectsAhead]);
        if (i + textsAhead < things.size()) fetchTexts(*things[i + textsAhead]);
        append(*things[i]);
    }
}

void RecordList::separate() {
    if (std::exchange(hasRecords_, true)) text_.append(',');
}

}  // namespace kelto
