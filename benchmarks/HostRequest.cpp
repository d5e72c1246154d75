#include "benchmarks/HostRequest.hpp"

#include <algorithm>
#include <charconv>
#include <random>
#include <vector>

namespace kelto::bench {

namespace {

constexpr std::int64_t firstMoment = 1'700'000'000'000;

/// Escapes what JSON demands, and leaves everything else as it is.
void appendQuoted(std::string& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

/// The members of one record, each printed, put together in one order or another.
class RecordMembers {
public:
    std::string& add(std::string_view key) {
        if (count_ == members_.size()) members_.emplace_back();
        std::string& member = members_[count_++];
        member.clear();
        appendQuoted(member, key);
        member += ':';
        return member;
    }
    void text(std::string_view key, std::string_view text) { appendQuoted(add(key), text); }
    void number(std::string_view key, std::int64_t value) { add(key) += std::to_string(value); }

    void appendTo(std::string& out, std::mt19937_64* order) {
        if (order != nullptr) {
            std::shuffle(members_.begin(), members_.begin() + std::ptrdiff_t(count_), *order);
        }
        out += '{';
        for (std::size_t i = 0; i < count_; ++i) {
            if (i > 0) out += ',';
            out += members_[i];
        }
        out += '}';
        count_ = 0;
    }

private:
    std::vector<std::string> members_;
    std::size_t count_ = 0;
};

class RequestPrinter {
public:
    RequestPrinter(std::string& out, const HostSnapshot& host, const RequestStyle& style)
        : out_(out), host_(host), library_(host.library()), style_(style) {
        if (style.keyOrderSeed) order_.seed(*style.keyOrderSeed);
    }

    void print(const std::string& storePath) {
        out_ = "{\"version\":1,\"storePath\":";
        appendQuoted(out_, storePath);
        out_ += ",\"directory\":";
        appendQuoted(out_, host_.exchangeFolder());
        out_ += ",\"knownFingerprints\":{";
        fingerprints();
        out_ += "},\"records\":[";
        if (style_.onlyItem) {
            item(*style_.onlyItem);
        } else {
            for (std::size_t i = 0; i < library_.projects(); ++i) project(i);
            for (std::size_t i = 0; i < SampleLibrary::tags(); ++i) tag(i);
            for (std::size_t i = 0; i < library_.items(); ++i) item(i);
        }
        out_ += "]}";
    }

private:
    void fingerprints() {
        for (std::size_t i = 0; i < library_.items(); ++i) {
            const HostItem& item = host_.item(i);
            if (!item.isKnown) continue;
            out_ += out_.back() == '{' ? "\"Thing:" : ",\"Thing:";
            out_ += SampleLibrary::itemIdentifier(i);
            out_ += "\":\"";
            out_.append(item.fingerprint.data(), item.fingerprint.size());
            out_ += '"';
        }
    }

    void begin(std::string_view type, const std::string& uuid, std::size_t number) {
        members_.text("recordType", type);
        members_.text("uuid", uuid);
        members_.number("createdAt", firstMoment + static_cast<std::int64_t>(number));
    }

    void end() {
        if (out_.back() != '[') out_ += ',';
        members_.appendTo(out_, style_.keyOrderSeed ? &order_ : nullptr);
    }

    void project(std::size_t i) {
        begin("Project", SampleLibrary::projectIdentifier(i), i);
        members_.text("name", SampleLibrary::projectName(i));
        members_.number("sortOrder", static_cast<std::int64_t>(i % 10));
        members_.text("linkedFolderOwner", library_.shape().isLinkedFolder ? "this host" : "");
        if (library_.hasParent(i)) {
            members_.text("parent", SampleLibrary::projectIdentifier(library_.parentOf(i)));
        }
        end();
    }

    void tag(std::size_t i) {
        begin("Tag", SampleLibrary::tagIdentifier(i), i);
        members_.text("name", SampleLibrary::tagName(i));
        end();
    }

    void item(std::size_t i) {
        const bool hasPayload = library_.hasPayload(i);
        const std::string number = std::to_string(i);
        begin("Thing", SampleLibrary::itemIdentifier(i), i);
        members_.number(
            "updatedAt",
            firstMoment + static_cast<std::int64_t>(i) + std::int64_t{1000} * host_.item(i).edits);
        members_.text("kind", hasPayload ? "image" : "note");
        members_.text("title", host_.title(i));
        members_.text("subtitle", i % 2 == 0 ? "Zweite Zeile, größer" : "");
        members_.text("content", hasPayload ? "" : "Inhalt mit Umläuten äöüß, 日本語 " + number);
        members_.text("note", i % 4 == 0 ? "Eine Notiz am Rand" : "");
        members_.text("urlString", i % 5 == 0 ? "https://example.com/s/" + number : "");
        members_.text("fileName", hasPayload ? "Bild " + number + ".jpeg" : "");
        members_.text("typeIdentifier", hasPayload ? "public.jpeg" : "");
        members_.number("fileSize", static_cast<std::int64_t>(library_.payloadSize(i)));
        members_.add("aspectRatio") += hasPayload ? "1.7777777777777777" : "1";
        members_.add("isStarred") += i % 10 == 0 ? "true" : "false";
        members_.text("metadataJson", hasPayload ? R"({"width":1600,"height":900})" : "");
        members_.text("project", SampleLibrary::projectIdentifier(library_.projectOf(i)));
        tags(i);
        if (hasPayload) members_.text("data", host_.payloadPath(i));
        if (library_.shape().isLinkedFolder && host_.item(i).isKnown) baseFingerprint(i);
        end();
    }

    void tags(std::size_t i) {
        std::string& member = members_.add("tags");
        for (std::size_t place = 0; place < 4; ++place) {
            member += place == 0 ? '[' : ',';
            appendQuoted(member, SampleLibrary::tagIdentifier(SampleLibrary::tagOf(i, place)));
        }
        member += ']';
    }

    void baseFingerprint(std::size_t i) {
        const HostItem::Fingerprint& base = host_.item(i).fileFingerprint;
        members_.text("baseFileFingerprint", std::string_view(base.data(), base.size()));
    }

    std::string& out_;
    const HostSnapshot& host_;
    const SampleLibrary& library_;
    const RequestStyle& style_;
    std::mt19937_64 order_;
    RecordMembers members_;
};

}  // namespace

void printRequest(std::string& out,
                  const HostSnapshot& host,
                  const std::string& storePath,
                  const RequestStyle& style) {
    RequestPrinter(out, host, style).print(storePath);
}

}  // namespace kelto::bench
