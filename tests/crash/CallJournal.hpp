#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/crash/call_control.h"

namespace kelto {

/// One change that a watched program has made to files, and that has succeeded.
struct JournalEntry {
    call_kind kind = CALL_NONE;
    std::string path;
    std::string otherPath;     ///< Of a rename: where to.
    std::uint64_t inode = 0;   ///< Of the file; a number may come again after its file has gone.
    std::uint64_t offset = 0;  ///< Of a write; the new length of a file that was cut.
    std::string bytes;         ///< Of a write.
    std::uint64_t end = 0;     ///< Where the entry ends in the journal.
};

/// All entries of a journal that is no longer written.
[[nodiscard]] std::vector<JournalEntry> readJournal(const std::string& path);

}  // namespace kelto
