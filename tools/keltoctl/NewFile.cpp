#include "tools/keltoctl/NewFile.hpp"

#include <algorithm>
#include <filesystem>

#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

namespace fs = std::filesystem;

/// Whether the file lies in the folder of the store, or below it.
bool liesBesideStore(const std::string& path, const std::string& storePath) {
    std::error_code error;
    const fs::path folder = fs::canonical(folderOf(path), error);
    const fs::path store = error ? fs::path() : fs::canonical(folderOf(storePath), error);
    if (error) return false;
    return std::mismatch(store.begin(), store.end(), folder.begin(), folder.end()).first ==
           store.end();
}

}  // namespace

std::string takenSentence(const std::string& path) {
    return quotedName(path) + " is there already; --force replaces it.";
}

void requireFreeName(const NewFile& file) {
    std::error_code ignored;
    const std::string& path = file.path;
    if (path.empty())
        throw WrongUsage("the " + file.noun + " needs a name; write keltoctl " + file.noun +
                         " FILE, for example " + file.example + ".");
    if (fs::is_directory(path, ignored))
        throw Refusal(quotedName(path) + " is a folder; name the file to write, for example " +
                      quotedName((fs::path(path) / file.example).string()) + ".");
    const std::string folder = folderOf(path);
    if (!fs::is_directory(folder, ignored))
        throw Refusal("cannot write " + quotedName(path) + ": there is no folder " +
                      quotedName(folder) + "; make it first, or name a file elsewhere.");
    if (!fs::exists(fs::symlink_status(path, ignored))) return;
    if (!file.mayReplace) throw Refusal(takenSentence(path));
    // A device or a pipe would be replaced by a file, which nobody means.
    if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored))
        throw Refusal(quotedName(path) + " is no ordinary file; name another one.");
    if (liesBesideStore(path, file.storePath))
        throw Refusal(quotedName(path) +
                      " is one of the library's own files; name a file elsewhere.");
}

}  // namespace kelto::ctl
