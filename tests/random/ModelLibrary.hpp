#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <set>
#include <string>

#include "tests/random/HostFiles.hpp"

namespace kelto::history {

/// An identifier in lower case.
using Id = std::string;
/// Seconds since 1970, never rounded.
using Seconds = double;

struct ModelProject {
    Id id;
    std::string name;
    std::int64_t sortOrder = 0;
    std::string linkedFolderOwner;
    Seconds createdAt = 0;
    std::optional<Id> parent;
};

struct ModelTag {
    Id id;
    std::string name;
    Seconds createdAt = 0;
};

struct ModelThing {
    Id id;
    std::string kind;
    std::string title;
    std::string subtitle;
    std::string content;
    std::string note;
    std::string urlString;
    std::string fileName;
    std::string typeIdentifier;
    std::int64_t fileSize = 0;
    double aspectRatio = 1;
    bool isStarred = false;
    std::optional<Seconds> trashedAt;
    Seconds createdAt = 0;
    Seconds updatedAt = 0;
    std::string metadataJson;
    std::set<Id> tags;  ///< In the order in which they are exported.
    std::optional<Id> project;
    Content data;  ///< The payloads: null when there is none.
    Content thumbnail;
    Content icon;
};

/// What the store holds, each list in the order of creation.
struct ModelLibrary {
    std::list<ModelProject> projects;
    std::list<ModelTag> tags;
    std::list<ModelThing> things;
};

/// The member of a list with that identifier, or nullptr.
template <typename List>
auto* findById(List& list, const Id& id) {
    for (auto& item : list) {
        if (item.id == id) return &item;
    }
    return static_cast<decltype(&list.front())>(nullptr);
}

}  // namespace kelto::history
