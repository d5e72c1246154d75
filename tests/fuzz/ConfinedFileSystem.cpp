#include "tests/fuzz/ConfinedFileSystem.hpp"

#include <cerrno>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

ConfinedFileSystem::ConfinedFileSystem(std::shared_ptr<FileSystem> inner, std::string folder)
    : inner_(std::move(inner)), folder_(std::move(folder)) {}

bool ConfinedFileSystem::isInside(std::string_view path) const {
    // By its text: no input can make links.
    return (standardizedPath(path) + "/").starts_with(folder_ + "/");
}

void ConfinedFileSystem::requireReadable(std::string_view path) const {
    if (!isInside(path)) throw PlatformError::fileRead(path, ENOENT);
}

void ConfinedFileSystem::requireWritable(std::string_view path) const {
    if (!isInside(path)) throw PlatformError::fileWrite(path, EACCES);
}

std::unique_ptr<File> ConfinedFileSystem::openForReading(std::string_view path) {
    requireReadable(path);
    return inner_->openForReading(path);
}

std::unique_ptr<Folder> ConfinedFileSystem::openFolder(std::string_view path) {
    requireReadable(path);
    return inner_->openFolder(path);
}

std::unique_ptr<File> ConfinedFileSystem::create(std::string_view path) {
    requireWritable(path);
    return inner_->create(path);
}

std::optional<FileStatus> ConfinedFileSystem::status(std::string_view path) {
    return isInside(path) ? inner_->status(path) : std::nullopt;
}

std::optional<std::string> ConfinedFileSystem::resolvedPath(std::string_view path) {
    return isInside(path) ? inner_->resolvedPath(path) : std::nullopt;
}

std::vector<std::string> ConfinedFileSystem::list(std::string_view folder) {
    requireReadable(folder);
    return inner_->list(folder);
}

void ConfinedFileSystem::createFolders(std::string_view path) {
    requireWritable(path);
    inner_->createFolders(path);
}

void ConfinedFileSystem::rename(std::string_view from, std::string_view to) {
    requireWritable(from);
    requireWritable(to);
    inner_->rename(from, to);
}

void ConfinedFileSystem::remove(std::string_view path) {
    requireWritable(path);
    inner_->remove(path);
}

bool ConfinedFileSystem::swap(std::string_view one, std::string_view other) {
    requireWritable(one);
    requireWritable(other);
    return inner_->swap(one, other);
}

void ConfinedFileSystem::removeFolder(std::string_view path) {
    requireWritable(path);
    inner_->removeFolder(path);
}

void ConfinedFileSystem::makePrivate(std::string_view path) {
    requireWritable(path);
    inner_->makePrivate(path);
}

void ConfinedFileSystem::syncFolder(std::string_view path) {
    requireWritable(path);
    inner_->syncFolder(path);
}

}  // namespace kelto
