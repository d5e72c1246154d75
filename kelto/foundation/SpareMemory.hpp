#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace kelto {

/// Large memory between two uses. Fresh memory is slow at its first touch, most of all on a virtual
/// machine, which may have given it back to its host: so a little of it stays with the process,
/// enough for the texts of a small exchange. A library that needs far more than that has little of
/// it: then none stays. May be called on any thread.
namespace spareMemory {

/// The most that stays.
inline constexpr std::size_t limitBytes = std::size_t{8} * 1024 * 1024;

/// Memory of that size which was kept; none when there is none. Its bytes are anything.
[[nodiscard]] std::optional<std::span<std::byte>> take(std::size_t size);
/// Whether there would be room for so much once all smaller pieces were gone.
[[nodiscard]] bool hasRoomBesideLarger(std::size_t size);
/// Keeps the memory; false when there is no room for it.
[[nodiscard]] bool keep(std::span<std::byte> memory);
/// A piece of less than `size` that was kept, so that it can be given back: larger ones are worth
/// more. None when there is none.
[[nodiscard]] std::optional<std::span<std::byte>> takeSmaller(std::size_t size);

}  // namespace spareMemory

}  // namespace kelto
