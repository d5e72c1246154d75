#include "tools/keltoctl/Snapshot.hpp"

#include <algorithm>
#include <set>

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

// Projects form a tree; the limit only keeps a damaged file from walking in circles.
constexpr int depthLimit = 64;

template <typename Record, typename Index>
const Record* find(const std::vector<Record>& records, const Index& index, std::string_view id) {
    const auto found = index.find(std::string(id));
    return found == index.end() ? nullptr : &records[found->second];
}

/// The beginning of an identifier that tells it from the others, and at least what is shown of
/// every identifier.
std::size_t tellingLength(const std::vector<Item>& items) {
    const auto isTelling = [&](std::size_t length) {
        std::set<std::string> beginnings;
        for (const Item& item : items) beginnings.insert(item.id().substr(0, length));
        return beginnings.size() == items.size();
    };
    std::size_t length = shortIdentifierLength;
    while (length < items.front().id().size() && !isTelling(length)) ++length;
    return length;
}

/// "d0384535 (“Evening”), d038aa01 (“Morning”)"
std::string candidates(const std::vector<Item>& items) {
    constexpr std::size_t most = 8;
    constexpr std::size_t nameWidth = 32;
    const std::size_t length = tellingLength(items);
    std::string text;
    for (std::size_t at = 0; at < items.size() && at < most; ++at) {
        text += (at == 0 ? "" : ", ") + items[at].id().substr(0, length) + " (" + "“" +
                cutTo(shownName(items[at]), nameWidth) + "”)";
    }
    const std::size_t rest = items.size() - std::min(items.size(), most);
    return rest == 0 ? text : text + " and " + std::to_string(rest) + " more";
}

Item theOnly(const std::vector<Item>& items, std::string_view prefix, const char* what) {
    if (items.empty())
        throw Refusal("no " + std::string(what) + " has an identifier that begins with " +
                      quotedName(prefix) + "; “keltoctl tree” shows the identifiers.");
    if (items.size() > 1)
        throw Refusal(quotedName(prefix) + " is the beginning of " + std::to_string(items.size()) +
                      " identifiers; write more of the one you mean: " + candidates(items) + ".");
    return items.front();
}

}  // namespace

const std::string& Item::id() const {
    if (thing != nullptr) return thing->id;
    return project != nullptr ? project->id : tag->id;
}

std::string_view Item::recordType() const {
    if (thing != nullptr) return "Thing";
    return project != nullptr ? "Project" : "Tag";
}

Snapshot Snapshot::parse(std::string_view response) {
    const JsonValue document = JsonValue::parse(response);
    if (const JsonValue* error = document.member("error"); error != nullptr && error->string())
        throw Refusal(*error->string());
    Snapshot snapshot;
    if (const JsonValue* status = document.member("status"); status != nullptr && status->string())
        snapshot.status_ = *status->string();
    if (const JsonValue* sync = document.member("lastSync"); sync != nullptr && sync->number())
        snapshot.lastSync_ = sync->number()->integer();
    const JsonValue* records = document.member("records");
    if (records == nullptr || records->array() == nullptr)
        throw Refusal("the library's answer holds no records; does this keltoctl belong to it?");
    for (const JsonValue& record : *records->array()) {
        const JsonValue* type = record.member("recordType");
        if (type == nullptr || type->string() == nullptr) continue;
        if (*type->string() == "Project") snapshot.projects_.push_back(projectFrom(record));
        if (*type->string() == "Tag") snapshot.tags_.push_back(tagFrom(record));
        if (*type->string() == "Thing") snapshot.things_.push_back(thingFrom(record));
    }
    snapshot.buildIndexes();
    return snapshot;
}

void Snapshot::buildIndexes() {
    for (std::size_t at = 0; at < projects_.size(); ++at) projectIndex_[projects_[at].id] = at;
    for (std::size_t at = 0; at < tags_.size(); ++at) tagIndex_[tags_[at].id] = at;
    for (std::size_t at = 0; at < things_.size(); ++at) thingIndex_[things_[at].id] = at;
}

const ProjectRecord* Snapshot::findProject(std::string_view id) const {
    return find(projects_, projectIndex_, id);
}

const TagRecord* Snapshot::findTag(std::string_view id) const {
    return find(tags_, tagIndex_, id);
}

const ThingRecord* Snapshot::findThing(std::string_view id) const {
    return find(things_, thingIndex_, id);
}

std::vector<Item> Snapshot::itemsBeginningWith(std::string_view prefix) const {
    std::vector<Item> found;
    const std::string lower = lowerCased(prefix);
    if (lower.empty()) return found;
    for (const ThingRecord& candidate : things_)
        if (candidate.id.starts_with(lower)) found.push_back({.thing = &candidate});
    for (const ProjectRecord& candidate : projects_)
        if (candidate.id.starts_with(lower)) found.push_back({.project = &candidate});
    for (const TagRecord& candidate : tags_)
        if (candidate.id.starts_with(lower)) found.push_back({.tag = &candidate});
    return found;
}

Item Snapshot::item(std::string_view prefix) const {
    return theOnly(itemsBeginningWith(prefix), prefix, "thing, project or tag");
}

const ThingRecord& Snapshot::thing(std::string_view prefix) const {
    std::vector<Item> found = itemsBeginningWith(prefix);
    std::erase_if(found, [](const Item& item) { return item.thing == nullptr; });
    return *theOnly(found, prefix, "thing").thing;
}

std::vector<Item> Snapshot::eachItem(const std::vector<std::string>& prefixes) const {
    std::vector<Item> found;
    for (const std::string& prefix : prefixes) {
        const Item named = item(prefix);
        const auto isNamed = [&](const Item& one) { return one.id() == named.id(); };
        if (std::none_of(found.begin(), found.end(), isNamed)) found.push_back(named);
    }
    return found;
}

std::vector<const ThingRecord*> Snapshot::eachThing(
    const std::vector<std::string>& prefixes) const {
    std::vector<const ThingRecord*> found;
    for (const std::string& prefix : prefixes) {
        const ThingRecord* named = &thing(prefix);
        if (std::find(found.begin(), found.end(), named) == found.end()) found.push_back(named);
    }
    return found;
}

const ProjectRecord& Snapshot::project(std::string_view nameOrPrefix) const {
    const std::string name = folded(nameOrPrefix);
    std::vector<Item> found;
    for (const ProjectRecord& candidate : projects_)
        if (folded(candidate.name) == name) found.push_back({.project = &candidate});
    if (found.size() > 1)
        throw Refusal(std::to_string(found.size()) + " projects are called " +
                      quotedName(nameOrPrefix) + "; name the one you mean by its identifier.");
    if (found.empty()) found = itemsBeginningWith(nameOrPrefix);
    std::erase_if(found, [](const Item& item) { return item.project == nullptr; });
    if (found.empty())
        throw Refusal("no project is called " + quotedName(nameOrPrefix) +
                      " or has such an identifier; “keltoctl tree” shows the projects.");
    return *theOnly(found, nameOrPrefix, "project").project;
}

const TagRecord* Snapshot::findTagNamed(std::string_view name) const {
    const std::string wanted = folded(name);
    for (const TagRecord& candidate : tags_)
        if (folded(candidate.name) == wanted) return &candidate;
    return nullptr;
}

std::string Snapshot::projectPath(std::string_view id) const {
    std::string path;
    const ProjectRecord* project = findProject(id);
    for (int depth = 0; project != nullptr && depth < depthLimit; ++depth) {
        if (depth > 0) path.insert(0, " / ");
        path.insert(0, project->name);
        project = project->parent ? findProject(*project->parent) : nullptr;
    }
    return path;
}

bool Snapshot::liesIn(std::string_view id, std::string_view ancestor) const {
    const ProjectRecord* project = findProject(id);
    for (int depth = 0; project != nullptr && depth < depthLimit; ++depth) {
        if (project->id == ancestor) return true;
        project = project->parent ? findProject(*project->parent) : nullptr;
    }
    return false;
}

std::vector<std::string> Snapshot::tagNames(const ThingRecord& thing) const {
    std::vector<std::string> names;
    for (const std::string& id : thing.tags)
        if (const TagRecord* tag = findTag(id)) names.push_back(tag->name);
    return names;
}

}  // namespace kelto::ctl
