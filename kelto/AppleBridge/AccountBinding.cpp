#include "kelto/AppleBridge/AccountBinding.hpp"

#include <string>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

/// Record names of accounts are far shorter; a larger file is nothing that this library wrote.
constexpr std::size_t markerLimitBytes = std::size_t{64} * 1024;
/// "Text that cannot be decoded", as the platform's own layer numbers it.
constexpr std::int64_t unreadableTextCode = 259;
/// "No such file", likewise.
constexpr std::int64_t noSuchFileCode = 4;

std::string readMarker(FileSystem& files, const std::string& path) {
    std::string account = readWholeFile(files, path, markerLimitBytes);
    if (isWellFormedUtf8(account)) return account;
    throw PlatformError::described(errorDomain::cocoa,
                                   unreadableTextCode,
                                   "The file “" + std::string(accountMarkerName) +
                                       "” couldn’t be opened because it isn’t in the correct "
                                       "format.");
}

void requireMarked(FileSystem& files, const std::string& marker, std::string_view accountName) {
    if (readMarker(files, marker) == accountName) return;
    throw BridgeError(BridgeRefusal::otherAccount);
}

}  // namespace

void bindToAccount(FileSystem& files,
                   Random& random,
                   std::string_view libraryFolder,
                   std::string_view accountName) {
    const std::string marker = joinedPath(libraryFolder, accountMarkerName);
    if (!files.status(marker)) {
        createFoldersDurably(files, libraryFolder);
        try {
            writeAtomically(files, random, marker, Durability::flushed, [&](File& file) {
                file.write(bytesOf(accountName));
            });
        } catch (const PlatformError& failure) {
            // Another program that was quicker may have taken our temporary file for a leftover.
            if (failure.code() != noSuchFileCode || !files.status(marker)) throw;
        }
    }
    requireMarked(files, marker, accountName);
}

void requireAccount(FileSystem& files,
                    std::string_view libraryFolder,
                    std::string_view accountName) {
    const std::string marker = joinedPath(libraryFolder, accountMarkerName);
    if (files.status(marker)) requireMarked(files, marker, accountName);
}

}  // namespace kelto
