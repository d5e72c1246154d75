#include "tools/keltoctl/Difference.hpp"

#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

Difference::Entry entry(const ProjectRecord& project) {
    return {"Project", project.id, project.name};
}
Difference::Entry entry(const TagRecord& tag) {
    return {"Tag", tag.id, tag.name};
}
Difference::Entry entry(const ThingRecord& thing) {
    return {"Thing", thing.id, displayTitle(thing)};
}

bool isSame(const ThingRecord& before, const ThingRecord& after) {
    return before.fingerprint == after.fingerprint;
}
template <typename Record>
bool isSame(const Record& before, const Record& after) {
    return before == after;
}

template <typename Record, typename Find>
void compare(const std::vector<Record>& before,
             const std::vector<Record>& after,
             Find findIn,
             const Snapshot& earlier,
             const Snapshot& later,
             Difference& result) {
    for (const Record& record : after) {
        const Record* known = (earlier.*findIn)(record.id);
        if (known == nullptr)
            result.added.push_back(entry(record));
        else if (!isSame(*known, record))
            result.changed.push_back(entry(record));
    }
    for (const Record& record : before)
        if ((later.*findIn)(record.id) == nullptr) result.gone.push_back(entry(record));
}

JsonValue entriesToJson(const std::vector<Difference::Entry>& entries) {
    JsonElements elements;
    for (const Difference::Entry& one : entries)
        elements.emplace_back(
            JsonMembers{{"recordType", one.recordType}, {"uuid", one.id}, {"name", one.name}});
    return elements;
}

}  // namespace

Difference difference(const Snapshot& before, const Snapshot& after) {
    Difference result;
    compare(before.projects(), after.projects(), &Snapshot::findProject, before, after, result);
    compare(before.tags(), after.tags(), &Snapshot::findTag, before, after, result);
    compare(before.things(), after.things(), &Snapshot::findThing, before, after, result);
    return result;
}

JsonValue toJson(const Difference& difference) {
    return JsonMembers{{"added", entriesToJson(difference.added)},
                       {"changed", entriesToJson(difference.changed)},
                       {"gone", entriesToJson(difference.gone)}};
}

}  // namespace kelto::ctl
