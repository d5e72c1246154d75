#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

struct ExportReport {
    std::size_t files = 0;
    std::size_t folders = 0;
    std::vector<std::string> problems;  ///< a sentence for each thing that could not be written out
    std::vector<std::string> paths;     ///< of a plan: the files, each behind its folder
};

/// Writes the things that are not in the trash as files, a folder for each project. Things without
/// a file of their own are written by the conventions that import reads: notes and quotes as text,
/// links as ".url". Nothing that exists is overwritten or entered, no name leads out of `folder`.
/// Throws Refusal when the folder cannot be made.
[[nodiscard]] ExportReport exportLibrary(const Snapshot& snapshot, const std::string& folder);

/// The same, but nothing is written: what would be, as far as nobody else changes the folder.
[[nodiscard]] ExportReport exportPlan(const Snapshot& snapshot, const std::string& folder);

}  // namespace kelto::ctl
