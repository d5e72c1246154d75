#include "tools/keltoctl/TagNames.hpp"

#include <algorithm>

#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

std::string idOf(const Snapshot& snapshot,
                 const std::string& name,
                 std::int64_t nowMilliseconds,
                 std::vector<TagRecord>& added) {
    if (const TagRecord* tag = snapshot.findTagNamed(name)) return tag->id;
    for (const TagRecord& tag : added)
        if (folded(tag.name) == folded(name)) return tag.id;
    added.push_back({.id = randomIdentifier(), .createdAt = nowMilliseconds, .name = name});
    return added.back().id;
}

}  // namespace

TagsByName tagsByName(const Snapshot& snapshot,
                      const std::vector<std::string>& names,
                      std::int64_t nowMilliseconds) {
    TagsByName tags;
    for (const std::string& name : names) {
        if (name.empty()) throw WrongUsage("a tag needs a name; write --tag NAME.");
        const std::string id = idOf(snapshot, name, nowMilliseconds, tags.added);
        if (std::find(tags.ids.begin(), tags.ids.end(), id) == tags.ids.end())
            tags.ids.push_back(id);
    }
    return tags;
}

}  // namespace kelto::ctl
