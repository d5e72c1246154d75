#include "tests/random/RecordMaker.hpp"

#include <algorithm>
#include <cctype>

#include "tests/random/HistoryPools.hpp"

namespace kelto::history {

namespace {

constexpr const char* payloadKeys[] = {"data", "thumbnail", "icon"};
constexpr const char* textKeys[] = {
    "title", "subtitle", "content", "note", "urlString", "typeIdentifier"};

std::string typeOf(const JsonValue& record) {
    const JsonValue* type = record.member("recordType");
    return type == nullptr || type->string() == nullptr ? "" : *type->string();
}

}  // namespace

RecordMaker::RecordMaker(Dice& dice, const HostFiles& files, std::string directory)
    : dice_(dice), files_(files), directory_(std::move(directory)) {}

JsonValue RecordMaker::project() {
    JsonValue record = JsonMembers{{"recordType", "Project"},
                                   {"uuid", cased(dice_.pick(pools::projectIds()))},
                                   {"createdAt", someMilliseconds()},
                                   {"sortOrder", static_cast<int>(dice_.below(5))}};
    if (dice_.chance(60)) record.setMember("linkedFolderOwner", "owner of the link");
    editProject(record);
    return record;
}

JsonValue RecordMaker::tag() {
    return JsonMembers{{"recordType", "Tag"},
                       {"uuid", cased(dice_.pick(pools::tagIds()))},
                       {"createdAt", someMilliseconds()},
                       {"name", dice_.pick(pools::texts())}};
}

JsonValue RecordMaker::thing() {
    JsonValue record = JsonMembers{{"recordType", "Thing"},
                                   {"uuid", cased(dice_.pick(pools::thingIds()))},
                                   {"createdAt", someMilliseconds()},
                                   {"updatedAt", someMilliseconds()},
                                   {"kind", dice_.pick(pools::kinds())},
                                   {"tags", someTags()}};
    for (const char* key : textKeys) {
        if (dice_.chance(70)) record.setMember(key, dice_.pick(pools::texts()));
    }
    if (dice_.chance(70)) record.setMember("project", cased(dice_.pick(pools::projectIds())));
    for (int edits = 0; edits < 4; ++edits) editThing(record);
    return record;
}

JsonValue RecordMaker::deletion() {
    const bool isThing = dice_.chance(40);
    const bool isTag = !isThing && dice_.chance(40);
    // Projects' pool of identifiers begins like the other two: some name nothing of their type.
    const auto& ids = isThing ? pools::thingIds() : isTag ? pools::tagIds() : pools::projectIds();
    return JsonMembers{{"recordType", isThing ? "Thing" : (isTag ? "Tag" : "Project")},
                       {"uuid", cased(dice_.pick(ids))},
                       {"deleted", true}};
}

JsonValue RecordMaker::sentBack(const JsonValue& received,
                                const std::vector<std::string>& fingerprints) {
    JsonValue record = received;
    const JsonValue* last = received.member("fileFingerprint");
    if (last == nullptr) return record;
    const std::size_t roll = dice_.below(100);
    if (roll < 75) record.setMember("baseFileFingerprint", *last);
    if (roll >= 75 && roll < 88) record.setMember("baseFileFingerprint", dice_.pick(fingerprints));
    if (roll >= 88 && roll < 92) record.setMember("baseFileFingerprint", "no fingerprint");
    if (roll >= 92 && roll < 94) {
        std::string upperCase = *last->string();
        for (char& c : upperCase) c = static_cast<char>(std::toupper(c));
        record.setMember("baseFileFingerprint", upperCase);
    }
    if (dice_.chance(50)) {
        record.removeMember("fileFingerprint");
        record.removeMember("fingerprint");
    }
    // The file may be gone since: the host then sends the record without it, as a rule.
    for (const char* key : payloadKeys) {
        const JsonValue* path = record.member(key);
        if (path == nullptr || dice_.chance(1)) continue;
        const auto found = files_.find(*path->string(), directory_);
        if (found.kind != FoundFile::Kind::readable) record.removeMember(key);
    }
    return record;
}

void RecordMaker::edit(JsonValue& record) {
    const std::string type = typeOf(record);
    if (type == "Tag") record.setMember("name", dice_.pick(pools::texts()));
    if (type == "Project") editProject(record);
    if (type != "Thing") return;
    for (std::size_t edits = 1 + dice_.below(3); edits > 0; --edits) editThing(record);
    moveInTime(record);
}

void RecordMaker::editProject(JsonValue& record) {
    record.setMember("name", dice_.pick(pools::texts()));
    if (dice_.chance(10)) {
        record.setMember("linkedFolderOwner", dice_.chance(50) ? "another owner" : "");
    } else if (dice_.chance(20)) {
        record.removeMember("linkedFolderOwner");
    }
    if (dice_.chance(40)) {
        const JsonValue* id = record.member("uuid");
        record.setMember("parent", cased(someParent(*id->string())));
    } else if (dice_.chance(20)) {
        record.removeMember("parent");
    }
}

void RecordMaker::editThing(JsonValue& record) {
    switch (dice_.below(10)) {
        case 0:
        case 1:
            return record.setMember(textKeys[dice_.below(std::size(textKeys))],
                                    dice_.pick(pools::texts()));
        case 2:
            return record.setMember("fileName", dice_.pick(pools::fileNames()));
        case 3:
            return record.setMember("metadataJson", dice_.pick(pools::metadata()));
        case 4:
            if (record.removeMember("trashedAt")) return;
            return record.setMember("trashedAt", someMilliseconds());
        case 5:
            return record.setMember("tags", someTags());
        case 6:
            if (dice_.chance(20) && record.removeMember("project")) return;
            return record.setMember("project", cased(dice_.pick(pools::projectIds())));
        case 7:
            record.setMember("isStarred", dice_.chance(50));
            record.setMember("aspectRatio", JsonNumber{dice_.pick(pools::numbers())});
            return record.setMember("fileSize", JsonNumber{dice_.pick(pools::numbers())});
        case 8:
            return setPayload(record, "data");
        default:
            return setPayload(record, dice_.chance(50) ? "thumbnail" : "icon");
    }
}

void RecordMaker::moveInTime(JsonValue& record) {
    const JsonValue* updated = record.member("updatedAt");
    const auto now = updated == nullptr || updated->number() == nullptr ? std::nullopt
                                                                        : updated->number()->real();
    // Not so far out that it could not be written back.
    if (!now || *now > 1e15 || *now < -1e15) return record.setMember("updatedAt", 1700000000000.0);
    record.setMember("updatedAt", *now + dice_.pick(pools::timeSteps()));
}

void RecordMaker::setPayload(JsonValue& record, const std::string& key) {
    std::vector<std::string> mine;
    for (const auto& [path, content] : files_.all()) {
        if (files_.find(path, directory_).kind == FoundFile::Kind::readable) mine.push_back(path);
    }
    if (mine.empty() || dice_.chance(20)) {
        record.removeMember(key);
        return;
    }
    std::string path = dice_.pick(mine);
    // The same file by another spelling.
    if (dice_.chance(10)) path.insert(path.rfind('/'), "/../empty/.././/out");
    if (dice_.chance(10)) path.replace(path.rfind('/'), 0, "/../inward");
    if (files_.find(path, directory_).kind != FoundFile::Kind::readable) path = mine.front();
    record.setMember(key, path);
}

JsonValue RecordMaker::someTags() {
    JsonElements tags;
    for (std::size_t count = dice_.below(4); count > 0; --count) {
        tags.emplace_back(cased(dice_.pick(pools::tagIds())));
    }
    return tags;
}

JsonValue RecordMaker::someMilliseconds() {
    return JsonNumber{dice_.pick(pools::milliseconds())};
}

/// Mostly one that stands before the project in the pool, so that cycles stay rare.
std::string RecordMaker::someParent(const std::string& project) {
    const auto& ids = pools::projectIds();
    const auto place = std::find_if(
        ids.begin(), ids.end(), [&](const std::string& id) { return id.back() == project.back(); });
    const auto before = static_cast<std::size_t>(place - ids.begin());
    if (before == 0 || dice_.chance(4))
        return dice_.chance(90) ? pools::thingIds().back() : project;
    return ids[dice_.below(dice_.chance(96) ? before : ids.size())];
}

std::string RecordMaker::cased(std::string id) {
    if (dice_.chance(15)) {
        for (char& c : id) c = static_cast<char>(std::toupper(c));
    }
    return id;
}

}  // namespace kelto::history
