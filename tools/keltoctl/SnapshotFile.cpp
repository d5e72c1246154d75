#include "tools/keltoctl/SnapshotFile.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Records.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

/// What is made of all of a thing, or of its file: not there in a request.
constexpr std::array fingerprintKeys = {"fileFingerprint", "fingerprint", "baseFileFingerprint"};
constexpr std::array payloadKeys = {"data", "thumbnail", "icon"};
constexpr std::size_t partBytes = 1 << 16;

const std::string* textAt(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value == nullptr ? nullptr : value->string();
}

bool isDeletion(const JsonValue& record) {
    const JsonValue* value = record.member("deleted");
    return value != nullptr && value->boolean() != nullptr && *value->boolean();
}

/// The record as the library reads it: what is left out has its default, so a field that one of two
/// hosts leaves out is no difference.
JsonValue asRead(const std::string& type, const JsonValue& record) {
    if (isDeletion(record)) return JsonMembers{{"deleted", true}};
    if (type == "Tag") return toRecord(tagFrom(record));
    if (type == "Project") {
        JsonValue project = toRecord(projectFrom(record));
        // Left out, it stays what it is.
        if (textAt(record, "linkedFolderOwner") == nullptr) {
            project.removeMember("linkedFolderOwner");
        }
        return project;
    }
    ThingRecord thing = thingFrom(record);
    std::sort(thing.tags.begin(), thing.tags.end());
    JsonValue read = toRecord(thing);
    for (const char* key : fingerprintKeys) {
        if (const std::string* text = textAt(record, key)) read.setMember(key, *text);
    }
    return read;
}

[[noreturn]] void refuse(const std::string& path, const std::string& what) {
    throw WrongUsage("“" + path + "” cannot be compared: " + what);
}

JsonValue documentAt(const std::string& path) {
    std::optional<std::string> text;
    try {
        text = readNamedFile(path);
    } catch (const Refusal& refusal) {
        throw WrongUsage(refusal.what());
    }
    if (!text)
        throw WrongUsage("there is no file “" + path + "”; name a saved request or response.");
    try {
        return JsonValue::parse(*text);
    } catch (const PlatformError& error) {
        refuse(path, error.what());
    }
}

/// A payload's file opened for reading, and its size; none for all but an ordinary file: a document
/// may name a pipe, at which reading waits, or a device without an end.
std::pair<FileDescriptor, std::int64_t> openedPayload(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found {};
    if (!file || ::fstat(file.number(), &found) != 0 || !S_ISREG(found.st_mode))
        return {FileDescriptor(), 0};
    return {std::move(file), found.st_size};
}

/// How many bytes were read: fewer than there is room for only at the end of the file, or where it
/// cannot be read.
std::size_t readPart(const FileDescriptor& file, std::span<char> part) {
    std::size_t filled = 0;
    while (filled < part.size()) {
        const ssize_t count = ::read(file.number(), part.data() + filled, part.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

bool haveSameBytes(const std::string& one, const std::string& other) {
    const auto [first, size] = openedPayload(one);
    const auto [second, otherSize] = openedPayload(other);
    if (!first || !second || size != otherSize) return false;
    std::vector<char> left(partBytes);
    std::vector<char> right(partBytes);
    for (std::int64_t at = 0; at < size; at += static_cast<std::int64_t>(partBytes)) {
        const auto wanted = static_cast<std::size_t>(
            std::min<std::int64_t>(size - at, static_cast<std::int64_t>(partBytes)));
        if (readPart(first, std::span(left).first(wanted)) != wanted ||
            readPart(second, std::span(right).first(wanted)) != wanted || left != right)
            return false;
    }
    return true;
}

bool isOneOf(const auto& keys, const std::string& field) {
    return std::find(keys.begin(), keys.end(), field) != keys.end();
}

/// Whether what the two files say of a field comes to the same.
bool isNoDifference(const FieldChange& change, const JsonValue& first, const JsonValue& second) {
    const bool isInBoth = change.before && change.after;
    if (isOneOf(fingerprintKeys, change.field) || change.field == "linkedFolderOwner") {
        return !isInBoth;
    }
    if (!isOneOf(payloadKeys, change.field) || !isInBoth) return false;
    const std::string* before = textAt(first, "fingerprint");
    const std::string* after = textAt(second, "fingerprint");
    if (before != nullptr && after != nullptr && *before == *after) return true;
    const std::string* from = change.before->string();
    const std::string* to = change.after->string();
    return from != nullptr && to != nullptr && haveSameBytes(*from, *to);
}

std::optional<std::int64_t> updatedAt(const JsonValue& record) {
    const JsonValue* value = record.member("updatedAt");
    if (value == nullptr || value->number() == nullptr) return std::nullopt;
    return value->number()->integer();
}

/// Whether `host` says that it is based on the file that `library` holds.
std::optional<bool> isBasedOn(const JsonValue& host, const JsonValue& library) {
    const std::string* base = textAt(host, "baseFileFingerprint");
    const std::string* held = textAt(library, "fileFingerprint");
    if (base == nullptr || held == nullptr) return std::nullopt;
    return *base == *held;
}

std::string nameOf(const std::string& type, const JsonValue& record) {
    if (type == "Thing") return isDeletion(record) ? "" : displayTitle(thingFrom(record));
    const std::string* name = textAt(record, "name");
    return name == nullptr ? "" : *name;
}

RecordDifference difference(const SnapshotFile::Key& key,
                            const JsonValue& first,
                            const JsonValue& second) {
    RecordDifference result{.recordType = key.first, .id = key.second};
    result.name = nameOf(key.first, isDeletion(second) ? first : second);
    result.fields = fieldChanges(first, second);
    std::erase_if(result.fields,
                  [&](const FieldChange& change) { return isNoDifference(change, first, second); });
    const auto before = updatedAt(first);
    const auto after = updatedAt(second);
    std::int64_t later = 0;
    if (before && after && !__builtin_sub_overflow(*after, *before, &later) && later != 0) {
        result.laterInSecond = later;
    }
    result.isBasedOnOther = isBasedOn(second, first);
    if (!result.isBasedOnOther) result.isBasedOnOther = isBasedOn(first, second);
    return result;
}

RecordDifference onlyIn(RecordDifference::Kind kind,
                        const SnapshotFile::Key& key,
                        const JsonValue& record) {
    return {
        .kind = kind, .recordType = key.first, .id = key.second, .name = nameOf(key.first, record)};
}

}  // namespace

SnapshotFile::SnapshotFile(const std::string& path) {
    const JsonValue document = documentAt(path);
    const JsonValue* records = document.member("records");
    if (records == nullptr || records->array() == nullptr) {
        refuse(path, "it has no list “records”; name a saved request or response.");
    }
    std::size_t number = 0;
    for (const JsonValue& record : *records->array()) {
        const std::string place = "record " + std::to_string(++number);
        const std::string* type = textAt(record, "recordType");
        if (type == nullptr || (*type != "Project" && *type != "Tag" && *type != "Thing")) {
            refuse(path, place + " is neither Project, Tag nor Thing; mend its “recordType”.");
        }
        const std::string* id = textAt(record, "uuid");
        if (id == nullptr || !Uuid::parse(*id)) {
            refuse(path, place + " has no identifier; mend its “uuid”.");
        }
        JsonValue read = asRead(*type, record);
        if (read.member("uuid") != nullptr) read.setMember("uuid", lowerCased(*id));
        records_.insert_or_assign(Key(*type, lowerCased(*id)), std::move(read));
    }
}

std::vector<RecordDifference> differences(const SnapshotFile& first, const SnapshotFile& second) {
    std::vector<RecordDifference> found;
    for (const auto& [key, record] : first.records()) {
        const auto other = second.records().find(key);
        if (other == second.records().end()) {
            found.push_back(onlyIn(RecordDifference::Kind::onlyInFirst, key, record));
            continue;
        }
        RecordDifference result = difference(key, record, other->second);
        if (!result.fields.empty()) found.push_back(std::move(result));
    }
    for (const auto& [key, record] : second.records()) {
        if (first.records().contains(key)) continue;
        found.push_back(onlyIn(RecordDifference::Kind::onlyInSecond, key, record));
    }
    return found;
}

}  // namespace kelto::ctl
