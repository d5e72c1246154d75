#include "kelto/AppleBridge/SnapshotExport.hpp"

#include <algorithm>
#include <utility>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

namespace {

constexpr std::string_view receivedName = "received";

/// What a record takes in a response, a little more than usual.
constexpr std::size_t expectedRecordBytes = 1100;

/// The shown records, walked along with the objects: both are in the order of their creation.
class ShownBefore {
public:
    explicit ShownBefore(const std::vector<ShownRecord>& records) : records_(records) {}

    /// The record of that object as it is now; nullptr when there is none.
    const ShownRecord* find(const ModelObject& object) {
        while (next_ < records_.size() && records_[next_].row < object.row()) ++next_;
        if (next_ == records_.size()) return nullptr;
        const ShownRecord& record = records_[next_];
        const bool isSame =
            record.row == object.row() && record.changeNumber == object.changeNumber();
        return isSame ? &record : nullptr;
    }

private:
    const std::vector<ShownRecord>& records_;
    std::size_t next_ = 0;
};

}  // namespace

SnapshotExport::SnapshotExport(ModelContext& context,
                               const ExchangeRequest& request,
                               FileSystem& files,
                               Random& random,
                               ResponseMemory& memory)
    : context_(context),
      request_(request),
      files_(files),
      outgoing_(files, random),
      memory_(memory),
      receivedFolder_(absolutePath(files, joinedPath(request.directory(), receivedName))) {}

std::shared_ptr<const std::string> SnapshotExport::response(std::string_view status,
                                                            const std::optional<Date>& lastSync) {
    files_.createFolders(receivedFolder_);
    requireOwnFolder();
    context_.begin();
    const std::string before = envelopeBefore(lastSync);
    const std::string behind = envelopeBehind(status);
    if (isAsBefore(before, behind)) return memory_.text;

    if (memory_.text == nullptr || memory_.receivedFolder != receivedFolder_) memory_ = {};
    const auto earlier = memory_.text;  // copied from until all is printed
    const auto text = std::make_shared<std::string>();
    reserveLarge(*text,
                 earlier ? earlier->size() + earlier->size() / 16
                         : context_.count<Thing>() * expectedRecordBytes);
    *text += before;
    records_.emplace(*text, earlier ? std::string_view(*earlier) : std::string_view());
    ResponseMemory memory;
    memory.projects = appendAll<Project>(memory_.projects);
    memory.tags = appendAll<Tag>(memory_.tags);
    memory.things = appendAll<Thing>(memory_.things);
    records_->finish();
    *text += behind;
    outgoing_.finish();

    memory.text = text;
    memory.receivedFolder = receivedFolder_;
    memory.known = request_.known();
    memory.populationNumber = context_.populationNumber();
    memory.changeNumber = context_.lastChangeNumber();
    memory.areAllHeld = std::all_of(memory.things.begin(),
                                    memory.things.end(),
                                    [](const ShownRecord& record) { return record.isHeld; });
    memory_ = text->size() <= ResponseMemory::textLimitBytes ? std::move(memory) : ResponseMemory();
    return text;
}

void SnapshotExport::requireOwnFolder() {
    const auto directory = files_.resolvedPath(withoutLastPathComponent(receivedFolder_));
    const auto received = files_.resolvedPath(receivedFolder_);
    if (directory && received == joinedPath(*directory, receivedName)) return;
    throw PlatformError::described(
        errorDomain::cocoa,
        512,  // "a file could not be written", as the platform's own layer numbers it
        "The folder “received” in the exchange folder is a link to another place. Remove the link, "
        "so that payload files can be written.");
}

std::string SnapshotExport::envelopeBefore(const std::optional<Date>& lastSync) const {
    std::string text;
    RecordWriter envelope(text);
    envelope.text("directory", request_.directory());
    if (lastSync) envelope.timestamp("lastSync", *lastSync);
    envelope.value("records") += '[';
    return text;
}

std::string SnapshotExport::envelopeBehind(std::string_view status) {
    std::string text = "]";
    RecordWriter envelope(text, RecordWriter::Continued{});
    envelope.text("status", status);
    envelope.integer("version", bridgeProtocolVersion);
    envelope.close();
    return text;
}

bool SnapshotExport::isAsBefore(std::string_view before, std::string_view behind) const {
    return memory_.text != nullptr && memory_.areAllHeld && request_.known() == memory_.known &&
           memory_.populationNumber == context_.populationNumber() &&
           memory_.changeNumber == context_.lastChangeNumber() &&
           memory_.receivedFolder == receivedFolder_ && memory_.text->starts_with(before) &&
           memory_.text->ends_with(behind);
}

template <typename Model>
std::vector<ShownRecord> SnapshotExport::appendAll(const std::vector<ShownRecord>& before) {
    const std::vector<Model*> models = context_.fetch<Model>();
    std::vector<ShownRecord> shown;
    shown.reserve(models.size());
    ShownBefore shownBefore(before);
    for (const Model* model : models) {
        const ShownRecord* const record = shownBefore.find(*model);
        ShownRecord& now = shown.emplace_back();
        now.row = model->row();
        now.changeNumber = model->changeNumber();
        now.begin = records_->position();
        if constexpr (std::is_same_v<Model, Thing>) {
            now.isHeld = isHeld(*model, record);
            if (!now.isHeld) writePayloads(*model);
        }
        if (record != nullptr) {
            records_->copy(record->begin, record->end);
        } else {
            countWork(Work::recordsPrinted);
            print(*model);
        }
        now.end = records_->end();
    }
    return shown;
}

void SnapshotExport::print(const Project& project) {
    RecordWriter record = base(records_->print(), "Project", project.uuid(), project.createdAt());
    record.text("name", project.name());
    record.integer("sortOrder", project.sortOrder());
    record.text("linkedFolderOwner", project.linkedFolderOwner());
    if (project.parent() != nullptr) record.identifier("parent", project.parent()->uuid());
    record.close();
}

void SnapshotExport::print(const Tag& tag) {
    RecordWriter record = base(records_->print(), "Tag", tag.uuid(), tag.createdAt());
    record.text("name", tag.name());
    record.close();
}

void SnapshotExport::print(const Thing& thing) {
    const DerivedDigests digests = fingerprintsOf(thing);
    appendThingRecord(
        records_->print(), thing, digests.file.hex(), digests.record.hex(), pathPrefix(thing));
}

bool SnapshotExport::isHeld(const Thing& thing, const ShownRecord* before) const {
    const auto fields = payloadFields(thing);
    const bool hasPayloads = std::any_of(
        fields.begin(), fields.end(), [](const auto& field) { return field.payload->has_value(); });
    if (!hasPayloads) return true;
    if (before != nullptr && before->isHeld && request_.known() == memory_.known) return true;
    return request_.knownFingerprint(thing.uuid()) == fingerprintsOf(thing).record.hex();
}

void SnapshotExport::writePayloads(const Thing& thing) {
    const std::string prefix = pathPrefix(thing);
    for (const PayloadField& field : payloadFields(thing)) {
        if (!field.payload->has_value()) continue;
        // Not flushed: after a power cut the host asks for these files again, the store has them.
        context_.payloads().handOut(**field.payload, prefix + std::string(field.key), outgoing_);
    }
}

std::string SnapshotExport::pathPrefix(const Thing& thing) const {
    return joinedPath(receivedFolder_, thing.uuid().lowerCaseText()) + ".";
}

}  // namespace kelto
