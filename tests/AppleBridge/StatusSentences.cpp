#include <algorithm>

#include "tests/AppleBridge/SentenceCases.hpp"

namespace kelto {

namespace {

using Type = MirroringEvent::Type;

std::function<std::string()> statusAfter(const MirroringEvent& event) {
    return [event] {
        TestLibrary library;
        (void)library.exchange();
        library.post(event);
        return library.exchange().status();
    };
}

/// The title of the copy that is kept of an item that both sides have changed.
std::string titleOfTheCopy() {
    const std::string folder = identifier(2);
    const std::string item = identifier(1);
    const auto titled = [&](const char* title) {
        return RecordBuilder::thing(item).with("title", title).with("project", folder);
    };
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(folder).with("linkedFolderOwner", "Mac"))
            .record(titled("Plan")));
    const Response response = library.exchange(
        RequestBuilder().record(titled("Other").with("baseFileFingerprint", "of neither")));
    const auto things = response.identifiers("Thing");
    const auto copy =
        std::find_if(things.begin(), things.end(), [&](const auto& each) { return each != item; });
    return copy == things.end() ? "no copy" : response.string(*copy, "title");
}

}  // namespace

std::vector<SentenceCase> statusSentences() {
    MirroringEvent running;
    running.type = Type::import;
    MirroringEvent succeeded = running;
    succeeded.succeeded = true;
    succeeded.endDate = Date{1000};
    MirroringEvent failed = running;
    failed.endDate = Date{1000};
    failed.error = PlatformError::described(errorDomain::cloudKit, 9, "No account.");
    return {
        {"StatusAtFirst",
         "iCloud enabled — waiting for sync",
         [] { return TestLibrary().exchange().status(); }},
        {"StatusMeanwhile", "Syncing with iCloud…", statusAfter(running)},
        {"StatusAfterSuccess", "iCloud enabled", statusAfter(succeeded)},
        {"StatusAfterFailure", "iCloud: <sentence>", statusAfter(failed)},
        {"TitleOfACopy", "<title> (iCloud conflict)", titleOfTheCopy},
    };
}

}  // namespace kelto
