#pragma once

#include <cstddef>
#include <functional>

namespace kelto {

/// So many small pieces of work (a microsecond each) take as long as a second thread takes to come.
inline constexpr std::size_t worthAThread = 256;

/// Does `here` on this thread and `there` on a second one, where there is a processor for it and
/// the system has a thread to give; else one after the other. Returns when both are done. Neither
/// throws, nor touches what the other touches; what both read stays as it is meanwhile.
void doBoth(const std::function<void()>& here, const std::function<void()>& there);

/// Calls `work(begin, end)` for ranges that together cover 0 to `count`, each once, in any order:
/// on this thread, and on a second one where there is a processor for it and enough to do. Returns
/// when all is done. `work` throws nothing, and must only touch what no other range touches; what
/// it reads stays as it is meanwhile, since this thread does nothing else.
void shareWork(std::size_t count, const std::function<void(std::size_t, std::size_t)>& work);

}  // namespace kelto
