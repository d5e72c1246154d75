#include "tests/fuzz/FuzzedLibrary.hpp"

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/fuzz/ConfinedFileSystem.hpp"
#include "tests/fuzz/FuzzTarget.hpp"

namespace kelto {

namespace {

constexpr std::string_view firstRecords =
    R"({"version":1,"storePath":"$STORE","directory":"$DIR","records":[)"
    R"({"recordType":"Project","uuid":"5eed0000-0000-4000-8000-000000000011","name":"Papers","linkedFolderOwner":"mac"},)"
    R"({"recordType":"Project","uuid":"5eed0000-0000-4000-8000-000000000012","name":"Inner","parent":"5eed0000-0000-4000-8000-000000000011"},)"
    R"({"recordType":"Tag","uuid":"5eed0000-0000-4000-8000-000000000021","name":"red"},)"
    R"({"recordType":"Thing","uuid":"5eed0000-0000-4000-8000-000000000001","kind":"note","title":"First","updatedAt":1000,)"
    R"("project":"5eed0000-0000-4000-8000-000000000012","tags":["5eed0000-0000-4000-8000-000000000021"],"data":"$DIR/small"},)"
    R"({"recordType":"Thing","uuid":"5eed0000-0000-4000-8000-000000000002","kind":"image","title":"Second","updatedAt":1000,)"
    R"("metadataJson":"{\"width\":3}","icon":"$DIR/small"}]})";

const JsonElements& recordsOf(const JsonValue& response) {
    const JsonValue* records = response.member("records");
    require(records != nullptr && records->array() != nullptr, "a response has records");
    return *records->array();
}

const std::string& textOf(const JsonValue& object, std::string_view key) {
    const JsonValue* value = object.member(key);
    require(value != nullptr && value->string() != nullptr, "a text is there that must be");
    return *value->string();
}

void checkRecord(const JsonValue& record) {
    const std::string& type = textOf(record, "recordType");
    require(type == "Project" || type == "Tag" || type == "Thing", "a record's type is known");
    require(Uuid::parse(textOf(record, "uuid")).has_value(), "a record has an identifier");
    const JsonValue* created = record.member("createdAt");
    require(created != nullptr && created->number() != nullptr && created->number()->integer(),
            "a record has a moment");
    if (type != "Thing") return;
    require(textOf(record, "fingerprint").size() == 64, "a thing has a fingerprint");
    require(textOf(record, "fileFingerprint").size() == 64, "a thing has a file's fingerprint");
}

void checkAnswer(const JsonValue& answer) {
    require(answer.object() != nullptr, "an answer is an object");
    const JsonValue* version = answer.member("version");
    require(version != nullptr && *version == JsonValue(1), "an answer has version 1");
    if (const JsonValue* error = answer.member("error")) {
        require(answer.object()->size() == 2, "an error envelope has two members");
        require(error->string() != nullptr && !error->string()->empty(), "an error is a sentence");
        return;
    }
    (void)textOf(answer, "directory");
    (void)textOf(answer, "status");
    for (const JsonValue& record : recordsOf(answer)) checkRecord(record);
}

bool isImpossible(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->number() == nullptr) return false;
    const auto milliseconds = value->number()->real();
    return milliseconds && !Date::fromMilliseconds(*milliseconds).representableMilliseconds();
}

}  // namespace

FuzzedLibrary::FuzzedLibrary() {
    auto& files = library_.platform().files;
    files = std::make_shared<FaultyFileSystem>(std::make_shared<ConfinedFileSystem>(
        std::make_shared<PosixFileSystem>(), library_.platform().folder.path()));
    library_.restart();
    (void)library_.putFile("small", "a few bytes");
    (void)library_.putFile("other", "some other bytes");
    (void)library_.putFile("large", std::string(200'000, 'x'));
    const JsonValue answer = exchange(expanded(firstRecords));
    require(answer.member("error") == nullptr, "the first records are taken");
}

std::string FuzzedLibrary::expanded(std::string_view input) const {
    const std::string text = replacingAll(input, "$STORE", library_.storePath());
    return replacingAll(text, "$DIR", library_.exchangeFolder());
}

JsonValue FuzzedLibrary::exchange(const std::string& request) {
    const std::string text = library_.exchangeText(repairedUtf8(request));
    require(isWellFormedUtf8(text), "an answer is UTF-8");
    JsonValue answer = JsonValue::parse(text);
    checkAnswer(answer);
    return answer;
}

void FuzzedLibrary::requireStable(const JsonValue& response) {
    JsonMembers known;
    for (const JsonValue& record : recordsOf(response)) {
        const JsonValue* fingerprint = record.member("fingerprint");
        if (fingerprint != nullptr) {
            known.emplace_back("Thing:" + textOf(record, "uuid"), *fingerprint);
        }
    }
    const JsonValue request(JsonMembers{{"version", 1},
                                        {"storePath", library_.storePath()},
                                        {"directory", textOf(response, "directory")},
                                        {"records", recordsOf(response)},
                                        {"knownFingerprints", std::move(known)}});
    const JsonValue again = exchange(request.text());
    require(again == response, "the answered records, sent again, change nothing");
}

void FuzzedLibrary::restore() {
    const std::string nothing =
        expanded(R"({"version":1,"storePath":"$STORE","directory":"$DIR","records":[]})");
    JsonElements deletions;
    const JsonValue whole = exchange(nothing);
    for (const JsonValue& record : recordsOf(whole)) {
        deletions.emplace_back(JsonMembers{{"recordType", *record.member("recordType")},
                                           {"uuid", *record.member("uuid")},
                                           {"deleted", true}});
    }
    const JsonValue request(JsonMembers{{"version", 1},
                                        {"storePath", library_.storePath()},
                                        {"directory", library_.exchangeFolder()},
                                        {"records", std::move(deletions)}});
    require(recordsOf(exchange(request.text())).empty(), "every record can be deleted");
    (void)exchange(expanded(firstRecords));
}

bool holdsImpossibleTimestamp(std::string_view request) {
    try {
        const JsonValue document = JsonValue::parse(request);
        const JsonValue* records = document.member("records");
        if (records == nullptr || records->array() == nullptr) return false;
        for (const JsonValue& record : *records->array()) {
            for (const std::string_view key : {"createdAt", "updatedAt", "trashedAt"}) {
                if (isImpossible(record, key)) return true;
            }
        }
        return false;
    } catch (const PlatformError&) {
        return false;
    }
}

}  // namespace kelto
