#include <ostream>

#include "kelto/AppleBridge/BridgeRefusal.hpp"
#include "kelto/AppleBridge/ExchangeDispatch.hpp"
#include "tests/AppleBridge/SentenceCases.hpp"

namespace kelto {

namespace {

SentenceCase refusal(const char* name, BridgeRefusal kind, Arrange arrange) {
    return {name, std::string(sentenceOf(kind)), refusedAfter(arrange)};
}

/// What the host gets when an exchange fails by something that is not even an exception.
std::string answerToTheUnknown() {
    const auto fail = [](LargeText) -> Task<LargeText> {
        throw 42;
        co_return "";
    };
    const FakePlatform platform;
    static std::string answer;
    RequestIntake intake;
    dispatchExchange(
        platform.platform(), fail, intake, "{}", 0, [](std::intptr_t, const char* response) {
            answer = response;
        });
    platform.mainExecutor->runUntilIdle();
    return Response(answer).error();
}

}  // namespace

void PrintTo(const SentenceCase& sentence, std::ostream* out) {
    *out << sentence.sentence;
}

std::function<std::string()> refusedAfter(Arrange arrange) {
    return [arrange] {
        TestLibrary library;
        RequestBuilder request;
        arrange(library, request);
        return library.exchange(request).error();
    };
}

std::function<std::string()> refused(std::string text) {
    return [text = std::move(text)] {
        TestLibrary library;
        return Response(library.exchangeText(text)).error();
    };
}

std::vector<SentenceCase> refusalSentences() {
    return {
        refusal("InvalidRequest",
                BridgeRefusal::invalidRequest,
                [](TestLibrary&, RequestBuilder& request) { request.with("version", 2); }),
        refusal("NotProvisioned",
                BridgeRefusal::notProvisioned,
                [](TestLibrary& library, RequestBuilder&) {
                    library.platform().entitlements->values.clear();
                }),
        refusal("WrongStorePath",
                BridgeRefusal::wrongStorePath,
                [](TestLibrary&, RequestBuilder& request) { request.with("storePath", "/tmp"); }),
        refusal("NotSignedIn",
                BridgeRefusal::notSignedIn,
                [](TestLibrary& library, RequestBuilder&) {
                    library.platform().account->status = AccountStatus::noAccount;
                }),
        refusal("OtherAccount",
                BridgeRefusal::otherAccount,
                [](TestLibrary& library, RequestBuilder&) {
                    (void)library.exchange();
                    library.platform().account->recordName = "_bob";
                }),
        refusal("OtherStorePath",
                BridgeRefusal::otherStorePath,
                [](TestLibrary& library, RequestBuilder& request) {
                    (void)library.exchange();
                    request.with("storePath", library.libraryFolder() + "/./Kelto.store");
                }),
        refusal("DuplicateIdentifiers",
                BridgeRefusal::duplicateIdentifiers,
                [](TestLibrary& library, RequestBuilder&) {
                    (void)library.exchange(RequestBuilder()
                                               .record(RecordBuilder::tag(firstId))
                                               .record(RecordBuilder::tag(identifier(2))));
                    library.restart();
                    library.changeStore("UPDATE Tag SET uuid = (SELECT min(uuid) FROM Tag)");
                }),
        refusal("InvalidIdentifier",
                BridgeRefusal::invalidIdentifier,
                [](TestLibrary&, RequestBuilder& request) {
                    request.record(RecordBuilder::tag("nobody"));
                }),
        refusal("UnknownRecordType",
                BridgeRefusal::unknownRecordType,
                [](TestLibrary&, RequestBuilder& request) {
                    request.record(RecordBuilder("Folder", firstId));
                }),
        refusal("InvalidAssetPath",
                BridgeRefusal::invalidAssetPath,
                [](TestLibrary&, RequestBuilder& request) {
                    request.record(RecordBuilder::thing(firstId).with("data", "/etc/hostname"));
                }),
        refusal("ProjectCycle",
                BridgeRefusal::projectCycle,
                [](TestLibrary&, RequestBuilder& request) {
                    request.record(RecordBuilder::project(firstId).with("parent", firstId));
                }),
        {"UnknownReason",
         std::string(sentenceOf(BridgeRefusal::unknownReason)),
         answerToTheUnknown},
    };
}

}  // namespace kelto
