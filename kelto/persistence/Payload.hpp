#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "kelto/foundation/Sha256.hpp"

namespace kelto {

/// The bytes of a file field, as an immutable handle: they are named by their digest and read from
/// the payload storage when somebody needs them. Equal handles are equal bytes, so comparing,
/// copying and fingerprinting a payload of any size costs nothing.
struct Payload {
    Digest digest;

    friend auto operator<=>(const Payload&, const Payload&) = default;
};

/// A payload or none, in the room of a pointer: most things have none, and there are many things.
class HeldPayload {
public:
    HeldPayload() = default;
    HeldPayload& operator=(const std::optional<Payload>& value) {
        held_ = value ? std::make_unique<const Payload>(*value) : nullptr;
        return *this;
    }
    [[nodiscard]] bool has_value() const { return held_ != nullptr; }
    /// nullptr for none. Good until the next assignment.
    [[nodiscard]] const Payload* get() const { return held_.get(); }
    [[nodiscard]] std::optional<Payload> value() const {
        return held_ ? std::optional(*held_) : std::nullopt;
    }

private:
    std::unique_ptr<const Payload> held_;
};

}  // namespace kelto
