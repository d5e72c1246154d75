#include <algorithm>

#include "tests/random/HistoryPools.hpp"
#include "tests/random/RecordMaker.hpp"

// The part of RecordMaker that makes what a broken host would send.

namespace kelto::history {

namespace {

constexpr const char* allKeys[] = {"createdAt",
                                   "deleted",
                                   "name",
                                   "sortOrder",
                                   "linkedFolderOwner",
                                   "parent",
                                   "kind",
                                   "title",
                                   "subtitle",
                                   "content",
                                   "note",
                                   "urlString",
                                   "fileName",
                                   "typeIdentifier",
                                   "fileSize",
                                   "aspectRatio",
                                   "isStarred",
                                   "trashedAt",
                                   "updatedAt",
                                   "metadataJson",
                                   "tags",
                                   "project",
                                   "data",
                                   "thumbnail",
                                   "icon",
                                   "baseFileFingerprint"};

bool isOneOf(const std::string& key, std::initializer_list<const char*> keys) {
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

}  // namespace

void RecordMaker::spoil(JsonValue& record) {
    for (std::size_t faults = 1 + dice_.below(3); faults > 0; --faults) {
        const std::string key = allKeys[dice_.below(std::size(allKeys))];
        const std::size_t roll = dice_.below(100);
        if (roll < 55) {
            record.setMember(key, strangeValue(key));
        } else if (roll < 70) {
            record.removeMember(key);
        } else if (roll < 85) {
            repeatAKey(record);
        } else {
            record.setMember(dice_.pick(pools::unreadKeys()), dice_.pick(pools::strangers()));
        }
    }
}

/// A value that is wrong for the key, or right but seldom seen; never one that fails the exchange.
JsonValue RecordMaker::strangeValue(const std::string& key) {
    const bool isTime = isOneOf(key, {"createdAt", "updatedAt", "trashedAt"});
    const bool isPath = isOneOf(key, {"data", "thumbnail", "icon"});
    if (key == "deleted") {
        const JsonValue values[] = {"true", 1, 0, false, nullptr, JsonElements{true}};
        return values[dice_.below(std::size(values))];
    }
    if (key == "tags" && dice_.chance(70)) {
        JsonValue tags = someTags();
        const std::size_t place = dice_.below(tags.array()->size() + 1);
        const JsonValue stranger =
            dice_.chance(50) ? dice_.pick(pools::brokenIds()) : dice_.pick(pools::strangers());
        tags.array()->insert(tags.array()->begin() + static_cast<std::ptrdiff_t>(place), stranger);
        return tags;
    }
    if (isOneOf(key, {"parent", "project"}) && dice_.chance(50)) {
        return dice_.pick(pools::brokenIds());
    }
    const std::size_t roll = dice_.below(3);
    if (roll == 0 && !isPath) return dice_.pick(pools::texts());
    if (roll == 1) return JsonNumber{dice_.pick(isTime ? pools::milliseconds() : pools::numbers())};
    return dice_.pick(pools::strangers());
}

/// A key that stands twice: the last value holds.
void RecordMaker::repeatAKey(JsonValue& record) {
    JsonMembers& members = *record.object();
    const auto [key, value] = dice_.pick(members);
    if (isOneOf(key, {"uuid", "recordType"})) {
        members.insert(members.begin(), {key, dice_.pick(pools::strangers())});
    } else if (dice_.chance(50)) {
        members.insert(members.begin(), {key, strangeValue(key)});
    } else {
        members.emplace_back(key, strangeValue(key));
    }
}

void RecordMaker::breakFatally(JsonValue& record) {
    switch (dice_.below(8)) {
        case 0:
            return record.setMember("uuid", dice_.pick(pools::brokenIds()));
        case 1:
            record.removeMember(dice_.chance(50) ? "uuid" : "recordType");
            return;
        case 2:
            return record.setMember("recordType", dice_.pick(pools::unknownTypes()));
        case 3:
            // Only a project that is its own parent fails; a thing is never anybody's parent.
            if (const JsonValue* id = record.member("uuid"))
                record.setMember("parent", JsonValue(*id));
            return;
        case 4:
        case 5:
            return record.setMember("data", badPath());
        case 6:
            return record.setMember("thumbnail", badPath());
        default:
            return record.setMember("icon", badPath());
    }
}

std::string RecordMaker::badPath() {
    const std::string paths[] = {directory_,
                                 directory_ + "/",
                                 directory_ + "/missing",
                                 directory_ + "/out/missing.bin",
                                 directory_ + std::string("/out/file0\0", 11),
                                 directory_ + "/out",
                                 directory_ + "/empty/",
                                 directory_ + "/../outside/secret",
                                 directory_ + "/outward/secret",
                                 directory_ + "/outward",
                                 directory_ + "/received/../../outside/secret",
                                 "/history/ab/neighbour",
                                 "/history/a/out/file0",
                                 "/history/b/out/file0",
                                 "/history/b/out/file1",
                                 "out/file0",
                                 "",
                                 "/"};
    return paths[dice_.below(std::size(paths))];
}

}  // namespace kelto::history
