#include "tools/keltoctl/FileDraft.hpp"

#include <optional>
#include <string_view>
#include <utility>

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Url.hpp"
#include "tools/keltoctl/ImageSize.hpp"
#include "tools/keltoctl/LinkFile.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t textLimitBytes = 4'000'000;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view authorMark = "— ";
constexpr std::string_view anyData = "public.data";

bool endsWith(std::string_view name, std::string_view ending) {
    return name.size() > ending.size() && lowerCased(name).ends_with(ending);
}

std::string withoutEnding(std::string_view name, std::string_view ending) {
    return std::string(name.substr(0, name.size() - ending.size()));
}

/// The text of a small file; none when it is larger than any text somebody wrote.
std::optional<std::string> smallText(const std::string& path) {
    const auto size = fileSize(path);
    if (size > static_cast<std::int64_t>(textLimitBytes)) return std::nullopt;
    auto text = readTextFile(path);
    if (!text) throw Refusal("“" + path + "” is gone; import the folder again.");
    std::string_view bytes = *text;
    if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
    return repairedUtf8(bytes);
}

void dropTrailingBreaks(std::string& text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
}

FileDraft noteDraft(std::string text) {
    FileDraft draft;
    draft.kind = ThingKind::note;
    draft.content = std::move(text);
    draft.isPayload = false;
    return draft;
}

FileDraft quoteDraft(std::string text) {
    FileDraft draft = noteDraft(std::move(text));
    draft.kind = ThingKind::quote;
    dropTrailingBreaks(draft.content);
    const std::size_t lineEnd = draft.content.rfind('\n');
    const std::size_t lastLine = lineEnd == std::string::npos ? 0 : lineEnd + 1;
    const std::string_view last = std::string_view(draft.content).substr(lastLine);
    if (last.starts_with(authorMark) && last.size() > authorMark.size()) {
        draft.metadata.emplace_back("author", std::string(last.substr(authorMark.size())));
        draft.content.resize(lastLine);
        dropTrailingBreaks(draft.content);
    }
    return draft;
}

std::optional<FileDraft> linkDraft(const std::optional<LinkFile>& link) {
    if (!link) return std::nullopt;
    try {
        FileDraft draft = draftOfAddress(link->url);
        draft.title = link->title;
        return draft;
    } catch (const Refusal&) {
        return std::nullopt;  // no address: a document like any other
    }
}

/// A draft by a convention of names, with the part of the name that is the title.
std::optional<std::pair<FileDraft, std::string>> conventionalDraft(const std::string& name,
                                                                   const std::string& path) {
    for (const std::string_view ending : {".note.md", ".note.txt"})
        if (endsWith(name, ending))
            if (auto text = smallText(path))
                return std::pair(noteDraft(*std::move(text)), withoutEnding(name, ending));
    if (endsWith(name, ".quote.txt"))
        if (auto text = smallText(path))
            return std::pair(quoteDraft(*std::move(text)), withoutEnding(name, ".quote.txt"));
    for (const auto& [ending, read] : {std::pair(".webloc", &readWebloc),
                                       std::pair(".url", &readInternetShortcut),
                                       std::pair(".desktop", &readDesktopLink)})
        if (endsWith(name, ending))
            if (const auto text = smallText(path))
                if (auto draft = linkDraft(read(*text)))
                    return std::pair(*std::move(draft), withoutEnding(name, ending));
    return std::nullopt;
}

}  // namespace

FileDraft draftOfFile(const std::string& name, const std::string& path) {
    if (auto conventional = conventionalDraft(name, path)) {
        auto& [draft, stem] = *conventional;
        draft.aspectRatio = defaultAspectRatio(draft.kind);
        if (draft.title.empty()) draft.title = repairedUtf8(stem);
        return std::move(draft);
    }
    FileDraft draft = draftOfPayload(name, path);
    draft.title = repairedUtf8(withoutPathExtension(name));
    return draft;
}

FileDraft draftOfPayload(const std::string& name, const std::string& path) {
    FileDraft draft;
    const auto type = ContentType::fromFileExtension(pathExtension(name));
    draft.typeIdentifier = type ? type->identifier() : std::string(anyData);
    draft.kind = type ? classify(*type) : ThingKind::document;
    draft.aspectRatio = defaultAspectRatio(draft.kind);
    if (draft.kind != ThingKind::image) return draft;
    if (const auto size = readImageSizeOfFile(path)) {
        draft.aspectRatio = size->aspectRatio();
        draft.metadata.emplace_back("width", size->width);
        draft.metadata.emplace_back("height", size->height);
    }
    return draft;
}

FileDraft draftOfAddress(const std::string& address) {
    const auto url = Url::parse(address);
    const auto host = url && url->scheme() ? url->host() : std::nullopt;
    if (!host)
        throw Refusal("“" + address +
                      "” is not a web address; write it in full, like https://example.org/page.");
    FileDraft draft;
    draft.kind = classify(*url);
    draft.urlString = address;
    draft.aspectRatio = defaultAspectRatio(draft.kind);
    draft.isPayload = false;
    std::string site = lowerCased(*host);
    if (site.starts_with("www.")) site.erase(0, 4);
    draft.metadata.emplace_back("siteName", site);
    return draft;
}

std::string mergedMetadata(const std::string& metadataJson, const JsonMembers& added) {
    JsonValue metadata{JsonMembers{}};
    try {
        if (auto present = JsonValue::parse(metadataJson); present.object() != nullptr)
            metadata = std::move(present);
    } catch (const PlatformError&) {
        // Not JSON: nothing that could be kept.
    }
    for (const auto& [key, value] : added) metadata.setMember(key, value);
    return metadata.object()->empty() ? "" : metadata.text();
}

}  // namespace kelto::ctl
