#pragma once

#include <string>

namespace kelto::ctl {

/// Copies everything from one open file to another, empty one: blocks are shared where the file
/// system can, else copied. Throws Refusal; the names are for its sentence.
void copyContents(int source,
                  const std::string& sourceName,
                  int target,
                  const std::string& targetName);

}  // namespace kelto::ctl
