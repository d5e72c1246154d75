#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace kelto {

/// Large memory between two uses. Fresh memory is slow at its first touch, most of all on a virtual
/// machine, which may have given it back to its host: so a little of it stays with the process,
/// enough for the texts of a small exchange. May be called on any thread.
namespace spareMemory {

/// The most that stays.
inline constexpr std::size_t limitBytes = std::size_t{8} * 1024 * 1024;

/// Memory of that size which was kept; none when there is none. Its bytes are anything.
[[nodiscard]] std::optional<std::span<std::byte>> take(std::size_t size);
/// Keeps the memory; false when there is no room for it.
[[nodiscard]] bool keep(std::span<std::byte> memory);

}  // namespace spareMemory

}  // namespace kelto
