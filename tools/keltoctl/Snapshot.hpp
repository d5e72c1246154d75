#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/keltoctl/Records.hpp"

namespace kelto::ctl {

/// One thing, project or tag; exactly one of the three is not nullptr.
struct Item {
    const ThingRecord* thing = nullptr;
    const ProjectRecord* project = nullptr;
    const TagRecord* tag = nullptr;

    [[nodiscard]] const std::string& id() const;
    /// "Thing", "Project" or "Tag".
    [[nodiscard]] std::string_view recordType() const;
};

/// The whole library as one answer told it.
class Snapshot {
public:
    Snapshot() = default;
    /// Reads a response. Throws Refusal with the library's own sentence when it is an error
    /// envelope, PlatformError when it is no JSON.
    [[nodiscard]] static Snapshot parse(std::string_view response);

    [[nodiscard]] const std::vector<ProjectRecord>& projects() const { return projects_; }
    [[nodiscard]] const std::vector<TagRecord>& tags() const { return tags_; }
    [[nodiscard]] const std::vector<ThingRecord>& things() const { return things_; }
    [[nodiscard]] const std::string& status() const { return status_; }
    [[nodiscard]] std::optional<std::int64_t> lastSync() const { return lastSync_; }

    [[nodiscard]] const ProjectRecord* findProject(std::string_view id) const;
    [[nodiscard]] const TagRecord* findTag(std::string_view id) const;
    [[nodiscard]] const ThingRecord* findThing(std::string_view id) const;

    /// The one item whose identifier begins with `prefix` (any letter case). Throws Refusal when
    /// there is none, or more than one.
    [[nodiscard]] Item item(std::string_view prefix) const;
    /// The same among things only.
    [[nodiscard]] const ThingRecord& thing(std::string_view prefix) const;
    /// Those items, each once however often it is named.
    [[nodiscard]] std::vector<Item> eachItem(const std::vector<std::string>& prefixes) const;
    [[nodiscard]] std::vector<const ThingRecord*> eachThing(
        const std::vector<std::string>& prefixes) const;
    /// The one project of that name (letter case does not count) or with that identifier.
    [[nodiscard]] const ProjectRecord& project(std::string_view nameOrPrefix) const;
    /// The first tag of that name, letter case aside; nullptr when there is none.
    [[nodiscard]] const TagRecord* findTagNamed(std::string_view name) const;

    /// The project's name after those above it, joined by " / ".
    [[nodiscard]] std::string projectPath(std::string_view id) const;
    /// Whether the project is `ancestor` or lies below it.
    [[nodiscard]] bool liesIn(std::string_view id, std::string_view ancestor) const;
    [[nodiscard]] std::vector<std::string> tagNames(const ThingRecord& thing) const;

private:
    // Keys are owned: a view into a short identifier would not survive a move of the snapshot.
    using Index = std::unordered_map<std::string, std::size_t>;

    void buildIndexes();
    [[nodiscard]] std::vector<Item> itemsBeginningWith(std::string_view prefix) const;

    std::vector<ProjectRecord> projects_;
    std::vector<TagRecord> tags_;
    std::vector<ThingRecord> things_;
    std::string status_;
    std::optional<std::int64_t> lastSync_;
    Index projectIndex_;
    Index tagIndex_;
    Index thingIndex_;
};

}  // namespace kelto::ctl
