#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kelto {

// Real files, for what a test puts before the library and looks at afterwards. Failures throw.

[[nodiscard]] bool exists(const std::string& path);
[[nodiscard]] std::string readFile(const std::string& path);
/// Makes the folder above it when it is missing.
void writeFile(const std::string& path, std::string_view bytes);
/// The names in a folder, sorted; none when there is no such folder.
[[nodiscard]] std::vector<std::string> namesIn(const std::string& folder);
/// Every file below a folder with its bytes, by its path from there on: what "untouched" means.
[[nodiscard]] std::map<std::string, std::string> filesBelow(const std::string& folder);

}  // namespace kelto
