#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Many files for the host in one folder, each put into its place in one step (writeAtomically),
/// not flushed. The folder is held open: nobody can lead the files elsewhere by changing its path.
/// Making a small file takes longer than finding out what to write into it, so a second thread
/// makes them while the caller goes on: only names and bytes cross. They are written in the order
/// in which they were given, and none after one that failed; the failure is thrown by the next call
/// on the caller's thread. The second thread is made when there is enough to do.
class OutgoingFiles {
public:
    /// So many files are written by the caller, before a second thread is worth its making.
    static constexpr std::size_t filesWrittenAlone = 4;

    /// Both are borrowed.
    OutgoingFiles(Folder& folder, Random& random);
    OutgoingFiles(const OutgoingFiles&) = delete;
    OutgoingFiles& operator=(const OutgoingFiles&) = delete;
    /// Files that were not begun are dropped: whoever wants them calls finish().
    ~OutgoingFiles();

    /// Writes a copy of `bytes`, now or later; waits while too many wait already.
    void write(const std::string& name, Bytes bytes);
    /// Writes what `fill` writes, now, on the caller's thread.
    void writeNow(const std::string& name, const std::function<void(File&)>& fill);
    /// Returns when every file stands in its place.
    void finish();

private:
    class Queue;

    Folder& folder_;
    Random& random_;
    std::size_t written_ = 0;  // by the caller
    bool isAlone_;
    std::unique_ptr<Queue> queue_;
};

}  // namespace kelto
