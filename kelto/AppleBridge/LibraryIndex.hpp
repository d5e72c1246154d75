#pragma once

#include <cstdint>
#include <optional>

#include "kelto/AppleBridge/UniqueIndex.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"

namespace kelto {

/// The library's objects by identifier. Kept from one exchange to the next, and made anew only when
/// objects have come or gone otherwise than through it.
class LibraryIndex {
public:
    UniqueIndex<Thing> things;
    UniqueIndex<Tag> tags;
    UniqueIndex<Project> projects;

    /// nullptr for no identifier, and when there is none of it.
    [[nodiscard]] Project* projectNamed(const std::optional<Uuid>& identifier) const {
        return identifier ? projects.find(*identifier) : nullptr;
    }

    /// Makes the index agree with the objects of a unit of work that begins, and throws when two of
    /// one kind share an identifier. From here on whoever changes the objects changes the index as
    /// well, until agree() is called.
    void begin(ModelContext& context);
    /// The changes are saved, and the index has followed all of them. Without this call it is made
    /// anew the next time.
    void agree(const ModelContext& context);

    /// A number for what merging an item depends on besides the item: which projects and tags there
    /// are, the tree of projects and its links to folders. It is another one after each change.
    [[nodiscard]] std::uint64_t structureNumber() const { return structureNumber_; }
    void noteChangedStructure() { ++structureNumber_; }

    /// Whether the tree of projects was found free of cycles as it is now.
    [[nodiscard]] bool isKnownAcyclic() const { return acyclicStructure_ == structureNumber_; }
    void noteAcyclic() { acyclicStructure_ = structureNumber_; }

private:
    [[nodiscard]] bool othersChangedStructure(ModelContext& context) const;

    bool isAgreed_ = false;
    std::uint64_t populationNumber_ = 0;
    std::uint64_t changeNumber_ = 0;
    std::uint64_t structureNumber_ = 1;
    std::uint64_t acyclicStructure_ = 0;
};

}  // namespace kelto
