#include "tools/keltoctl/ConflictPairs.hpp"

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace kelto::ctl {

namespace {

constexpr std::string_view conflictMark = " (iCloud conflict)";

using Things = std::vector<const ThingRecord*>;

/// Things by what a conflict copy keeps of its original, so that not every pair has to be compared.
class Candidates {
public:
    explicit Candidates(const Snapshot& snapshot) {
        for (const ThingRecord& thing : snapshot.things()) {
            byCreation_[thing.createdAt].push_back(&thing);
            if (!thing.title.empty()) byTitle_[thing.title].push_back(&thing);
            if (!thing.fileName.empty()) byFileName_[thing.fileName].push_back(&thing);
        }
    }

    [[nodiscard]] std::unordered_set<const ThingRecord*> of(const ThingRecord& copy) const {
        std::unordered_set<const ThingRecord*> found;
        const auto add = [&](const auto& table, const auto& key) {
            const auto entry = table.find(key);
            if (entry != table.end()) found.insert(entry->second.begin(), entry->second.end());
        };
        add(byCreation_, copy.createdAt);
        add(byTitle_, withoutConflictMark(copy.title));
        add(byFileName_, withoutConflictMark(copy.fileName));
        return found;
    }

private:
    std::unordered_map<std::int64_t, Things> byCreation_;
    std::unordered_map<std::string, Things> byTitle_;
    std::unordered_map<std::string, Things> byFileName_;
};

/// How much speaks for `thing` as what `copy` was made of. Either side may have been renamed, moved
/// or edited since; the time of creation hardly ever changes.
int likeness(const ThingRecord& copy, const ThingRecord& thing) {
    constexpr int sameCreation = 4;
    constexpr int sameName = 2;
    constexpr int sameProject = 1;
    const std::string title = withoutConflictMark(copy.title);
    if (thing.id == copy.id || thing.kind != copy.kind) return 0;
    // Another copy of the same thing is no original; one of a copy is made of a copy.
    if (isConflictCopy(thing) && !title.ends_with(conflictMark)) return 0;
    int points = 0;
    if (thing.createdAt == copy.createdAt) points += sameCreation;
    if (thing.title == title) points += sameName;
    if (!copy.fileName.empty() && thing.fileName == withoutConflictMark(copy.fileName))
        points += sameName;
    if (thing.project == copy.project) points += sameProject;
    return points;
}

const ThingRecord* originalOf(const ThingRecord& copy, const Candidates& candidates) {
    constexpr int leastLikeness = 3;  // a name and a project, or more
    const ThingRecord* best = nullptr;
    int most = leastLikeness - 1;
    for (const ThingRecord* thing : candidates.of(copy)) {
        const int points = likeness(copy, *thing);
        if (points < most || points < leastLikeness) continue;
        best = points == most ? nullptr : thing;
        most = points;
    }
    return best;
}

}  // namespace

bool isConflictCopy(const ThingRecord& thing) {
    return thing.title.ends_with(conflictMark);
}

std::string withoutConflictMark(std::string_view name) {
    const std::size_t at = name.rfind(conflictMark);
    if (at == std::string_view::npos) return std::string(name);
    return std::string(name.substr(0, at)).append(name.substr(at + conflictMark.size()));
}

std::unordered_map<std::string, const ThingRecord*> originalsOfConflictCopies(
    const Snapshot& snapshot) {
    std::unordered_map<std::string, const ThingRecord*> originals;
    std::vector<const ThingRecord*> copies;
    for (const ThingRecord& thing : snapshot.things())
        if (isConflictCopy(thing)) copies.push_back(&thing);
    if (copies.empty()) return originals;
    const Candidates candidates(snapshot);
    for (const ThingRecord* copy : copies)
        if (const ThingRecord* original = originalOf(*copy, candidates))
            originals.emplace(copy->id, original);
    return originals;
}

}  // namespace kelto::ctl
