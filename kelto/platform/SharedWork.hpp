#pragma once

#include <cstddef>
#include <functional>

namespace kelto {

/// So many strides of work, some 50 microseconds each, take as long as a second thread takes to
/// come.
inline constexpr std::size_t worthAThread = 4;

/// Calls `work(begin, end)` for ranges of at most `stride` that together cover 0 to `count`, each
/// once, in any order: on this thread, and, where there is a processor for it and enough to do, on
/// a second one, which takes as many of them as it gets to. One that comes late, or never, is not
/// waited for: this thread then does it all. Returns when all is done. `work` throws nothing, and
/// must only touch what no other range touches; what it reads stays as it is meanwhile, since this
/// thread does nothing else.
void shareWork(std::size_t count,
               std::size_t stride,
               const std::function<void(std::size_t begin, std::size_t end)>& work);

}  // namespace kelto
