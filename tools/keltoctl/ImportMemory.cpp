#include "tools/keltoctl/ImportMemory.hpp"

#include <utility>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

std::string text(const JsonValue& object, std::string_view key) {
    const JsonValue* value = object.member(key);
    return value != nullptr && value->string() != nullptr ? *value->string() : "";
}

std::int64_t integer(const JsonValue& object, std::string_view key) {
    const JsonValue* value = object.member(key);
    return value != nullptr && value->number() != nullptr ? value->number()->integer().value_or(0)
                                                          : 0;
}

ImportMemory::Entries entriesFrom(const JsonValue& folder) {
    ImportMemory::Entries entries;
    if (folder.object() == nullptr) return entries;
    for (const auto& [id, entry] : *folder.object())
        entries[id] = {.recordType = text(entry, "recordType"),
                       .path = text(entry, "path"),
                       .size = integer(entry, "size"),
                       .modifiedNanoseconds = integer(entry, "modifiedNanoseconds"),
                       .baseFileFingerprint = text(entry, "baseFileFingerprint")};
    return entries;
}

JsonValue toJson(const ImportMemory::Entries& entries) {
    JsonMembers members;
    members.reserve(entries.size());
    for (const auto& [id, entry] : entries)
        members.emplace_back(id,
                             JsonMembers{{"recordType", entry.recordType},
                                         {"path", entry.path},
                                         {"size", entry.size},
                                         {"modifiedNanoseconds", entry.modifiedNanoseconds},
                                         {"baseFileFingerprint", entry.baseFileFingerprint}});
    return members;
}

}  // namespace

ImportMemory ImportMemory::load(const std::string& file) {
    ImportMemory memory;
    const auto stored = readTextFile(file);
    if (!stored) return memory;
    try {
        const JsonValue document = JsonValue::parse(*stored);
        const JsonValue* folders = document.member("folders");
        if (folders == nullptr || folders->object() == nullptr) return memory;
        for (const auto& [rootId, folder] : *folders->object())
            memory.folders_[rootId] = entriesFrom(folder);
        return memory;
    } catch (const PlatformError& error) {
        throw Refusal("“" + file + "” cannot be used: " + error.what() +
                      " Remove the file; the next import then compares times only.");
    }
}

void ImportMemory::save(const std::string& file) const {
    JsonMembers folders;
    for (const auto& [rootId, entries] : folders_) folders.emplace_back(rootId, toJson(entries));
    writeFileAtomically(file, JsonValue(JsonMembers{{"folders", std::move(folders)}}).text());
}

const ImportMemory::Entries& ImportMemory::entries(const std::string& rootId) const {
    static const Entries none;
    const auto found = folders_.find(rootId);
    return found == folders_.end() ? none : found->second;
}

void ImportMemory::replace(const std::string& rootId, Entries entries) {
    folders_[rootId] = std::move(entries);
}

}  // namespace kelto::ctl
