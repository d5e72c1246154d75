#include "tools/keltoctl/PlannedChanges.hpp"

#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

using Action = PlannedChange::Action;

std::string textAt(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value != nullptr && value->string() != nullptr ? *value->string() : "";
}

/// The record as the library holds it; null when it does not.
JsonValue storedRecord(const Snapshot& snapshot, const std::string& type, const std::string& id) {
    if (type == "Project") {
        if (const auto* project = snapshot.findProject(id)) return toRecord(*project);
    } else if (type == "Tag") {
        if (const auto* tag = snapshot.findTag(id)) return toRecord(*tag);
    } else if (const auto* thing = snapshot.findThing(id)) {
        return toRecord(*thing);
    }
    return nullptr;
}

std::string nameOf(const JsonValue& record) {
    if (textAt(record, "recordType") != "Thing") return textAt(record, "name");
    return displayTitle(thingFrom(record));
}

std::string_view signOf(Action action) {
    switch (action) {
        case Action::create:
            return "+ ";
        case Action::change:
            return "~ ";
        case Action::remove:
            break;
    }
    return "- ";
}

std::string_view nameOf(Action action) {
    switch (action) {
        case Action::create:
            return "create";
        case Action::change:
            return "change";
        case Action::remove:
            break;
    }
    return "delete";
}

}  // namespace

std::vector<PlannedChange> plannedChanges(const Snapshot& snapshot, const JsonElements& records) {
    std::vector<PlannedChange> changes;
    for (const JsonValue& sent : records) {
        PlannedChange change;
        change.recordType = textAt(sent, "recordType");
        change.id = textAt(sent, "uuid");
        const JsonValue stored = storedRecord(snapshot, change.recordType, change.id);
        if (sent.member("deleted") != nullptr) {
            change.action = Action::remove;
            if (!stored.isNull()) change.name = nameOf(stored);
        } else {
            change.name = nameOf(sent);
            change.action = stored.isNull() ? Action::create : Action::change;
            JsonValue record = sent;
            // Tells what the change is based on; no field of the thing.
            record.removeMember("baseFileFingerprint");
            if (!stored.isNull()) change.fields = fieldChanges(stored, record);
        }
        changes.push_back(std::move(change));
    }
    return changes;
}

std::string printed(const std::vector<PlannedChange>& changes) {
    std::string text;
    for (const PlannedChange& change : changes) {
        text += std::string(signOf(change.action)) +
                spokenRecord(change.recordType, change.name, change.id) + "\n" +
                printed(change.fields);
    }
    return text + "Nothing was changed: this only shows what would be.\n";
}

JsonValue toJson(const std::vector<PlannedChange>& changes) {
    JsonElements elements;
    elements.reserve(changes.size());
    for (const PlannedChange& change : changes) {
        elements.emplace_back(JsonMembers{{"action", nameOf(change.action)},
                                          {"recordType", change.recordType},
                                          {"uuid", change.id},
                                          {"name", change.name},
                                          {"fields", toJson(change.fields)}});
    }
    return elements;
}

}  // namespace kelto::ctl
