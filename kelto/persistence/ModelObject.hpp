#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/persistence/ObjectEnvironment.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// The identity that the store gives an object: stable for the object's life, comparable. Values
/// are ordered by creation within an entity.
struct PersistentIdentifier {
    const EntityDescription* entity = nullptr;
    std::int64_t row = 0;

    friend bool operator==(const PersistentIdentifier&, const PersistentIdentifier&) = default;
};

/// Digests over what an object holds: dear to compute, and asked for at every exchange. Rows keep
/// them byte by byte as they stand here.
struct DerivedDigests {
    Digest file;    ///< Of the part that makes up the object's file.
    Digest record;  ///< Of all of it.
    /// How long the text was of which `record` is the digest: others are as long but for a little.
    std::uint64_t recordBytes = 0;
    /// What they were worked out from, in short: those of a row hold for an object of which this is
    /// the same.
    std::uint64_t basis = 0;
};
static_assert(std::has_unique_object_representations_v<DerivedDigests>);

/// The base of everything that the store keeps: one object is one thing of the library, is owned by
/// its container (or by a test) and is never copied or moved. Main thread only.
class ModelObject {
public:
    /// Where the object stands between memory and store.
    enum class State : std::uint8_t {
        detached,  ///< In no context: its changes concern nobody.
        inserted,  ///< Will be stored by the next save.
        stored,    ///< Has a row; changed fields are written by the next save.
        deleted,   ///< Its row will go, or has gone, with a save. Still readable until then.
    };

    virtual ~ModelObject() = default;
    ModelObject(const ModelObject&) = delete;
    ModelObject& operator=(const ModelObject&) = delete;

    [[nodiscard]] const EntityDescription& entity() const { return *entity_; }
    [[nodiscard]] PersistentIdentifier persistentIdentifier() const { return {entity_, row_}; }
    [[nodiscard]] std::int64_t row() const { return row_; }
    [[nodiscard]] State state() const { return state_; }
    /// Whether the row differs from what is stored, the columns of relationships included.
    [[nodiscard]] bool hasChangedRow() const { return rowChanged_; }

    /// The number of the object's last change of any kind, its making and loading included. Two
    /// equal numbers of one object mean that nothing about it has changed in between.
    [[nodiscard]] std::uint64_t changeNumber() const { return changeNumber_; }

    /// What somebody has worked out from this object and told it to remember; forgotten at its next
    /// change. Others that it depends on, such as the identifiers of related objects, must be
    /// fixed.
    [[nodiscard]] const DerivedDigests* derivedDigests() const {
        return digestState_ == DigestState::remembered ? &digests_ : nullptr;
    }
    void remember(const DerivedDigests& digests) const {
        digests_ = digests;
        digestState_ = DigestState::remembered;
    }
    /// What the object's row says of them: from whoever wrote the row last, and perhaps from before
    /// that. Nothing is to be believed of it until its basis has been compared.
    [[nodiscard]] const DerivedDigests* storedDigests() const {
        return digestState_ == DigestState::stored ? &digests_ : nullptr;
    }

protected:
    ModelObject(const EntityDescription& entity, ObjectEnvironment& environment, std::int64_t row)
        : entity_(&entity),
          environment_(&environment),
          row_(row),
          changeNumber_(environment.nextChange()) {}

    [[nodiscard]] ObjectEnvironment& environment() const { return *environment_; }

    /// Gives `field` a new value; one that is equal changes and marks nothing.
    template <typename Field, typename Value>
    void assign(Field& field, Value&& value) {
        if (field == value) return;
        field = std::forward<Value>(value);
        noteChangedRow();
    }
    /// The same for a payload: the one that is let go of may be nobody's any more.
    void assignPayload(HeldPayload& field, const std::optional<Payload>& value);

    /// An attribute has changed, or a relationship that is stored on this side. Every change of a
    /// field goes through here, whatever the state.
    void noteChangedRow();

private:
    friend class ModelContext;
    friend class ObjectLoader;

    enum class DigestState : std::uint8_t { none, stored, remembered };

    /// What was worked out from the object holds no more.
    void renew();

    const EntityDescription* entity_;
    ObjectEnvironment* environment_;
    std::int64_t row_;
    std::uint64_t changeNumber_;
    State state_ = State::detached;
    bool rowChanged_ = false;
    mutable DigestState digestState_ = DigestState::none;
    mutable DerivedDigests digests_;
};

}  // namespace kelto
