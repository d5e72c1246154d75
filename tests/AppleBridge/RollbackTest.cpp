#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

const std::string thing = identifier(1);
const std::string linked = identifier(2);
const std::string goingTag = identifier(3);

std::string large(char letter) {
    return std::string(100'000, letter);
}

/// A library with something of everything, and a request that changes all of it.
class FullLibrary {
public:
    FullLibrary() {
        before = library.exchange(
            RequestBuilder()
                .record(RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac"))
                .record(RecordBuilder::tag(goingTag).with("name", "before"))
                .record(RecordBuilder::thing(thing)
                            .with("title", "before")
                            .withTags({goingTag})
                            .with("data", library.putFile("before", large('b'))))
                .record(RecordBuilder::thing(linked)
                            .with("title", "before")
                            .with("project", folderId)));
        externalFiles = library.externalFiles();
        library.clearReceived();
    }

    /// Creates, updates, deletes, replaces a large payload, and makes a conflict copy.
    RequestBuilder change() {
        return RequestBuilder()
            .record(RecordBuilder::project(identifier(4)).with("name", "new"))
            .record(RecordBuilder::project(folderId).with("name", "after"))
            .record(RecordBuilder::thing(thing)
                        .with("title", "after")
                        .with("data", library.putFile("after", large('a')))
                        .with("icon", library.putFile("small", "small")))
            .record(RecordBuilder::thing(linked)
                        .with("title", "after")
                        .with("project", identifier(4))
                        .with("baseFileFingerprint", "neither"))
            .record(RecordBuilder::deletion("Tag", goingTag))
            .record(RecordBuilder::thing(identifier(5))
                        .with("title", "new")
                        .with("data", library.putFile("new", large('n'))));
    }

    /// Everything is as it was before the exchange that has failed, now and after a restart.
    void expectUntouched() {
        EXPECT_EQ(library.externalFiles(), externalFiles);
        EXPECT_EQ(readFile(library.markerPath()), "_alice");
        EXPECT_THAT(library.receivedFiles(), testing::IsEmpty());
        EXPECT_EQ(library.exchange().records(), before.records());
        library.restart();
        EXPECT_EQ(library.exchange().records(), before.records());
        EXPECT_EQ(library.received(thing, "data"), large('b'));
    }

    /// The next exchange works.
    void expectChangeable() {
        const Response after = library.exchange(change());
        EXPECT_EQ(after.string(thing, "title"), "after");
        EXPECT_THAT(after.identifiers("Thing"), testing::SizeIs(4));
        EXPECT_EQ(library.received(thing, "data"), large('a'));
        EXPECT_THAT(library.externalFiles(), testing::SizeIs(2));
    }

    TestLibrary library;
    Response before{"{}"};
    std::vector<std::string> externalFiles;
};

struct Failure {
    const char* name;
    /// Adds what fails to the request, or arranges for it.
    void (*arrange)(TestLibrary& library, RequestBuilder& request);
    const char* sentence;  ///< A part of it.
};

class FailureAtTheEnd : public testing::TestWithParam<Failure> {};

TEST_P(FailureAtTheEnd, LeavesTheStoreAsItWas) {
    FullLibrary full;
    RequestBuilder request = full.change();
    GetParam().arrange(full.library, request);
    EXPECT_THAT(full.library.exchange(request).error(), testing::HasSubstr(GetParam().sentence));
    full.library.platform().files->heal();
    full.expectUntouched();
    full.expectChangeable();
}

TEST_P(FailureAtTheEnd, LetsTheVeryNextExchangeSucceed) {
    FullLibrary full;
    RequestBuilder request = full.change();
    GetParam().arrange(full.library, request);
    EXPECT_TRUE(full.library.exchange(request).isError());
    full.library.platform().files->heal();
    full.expectChangeable();
}

void add(RequestBuilder& request, const RecordBuilder& record) {
    request.record(record);
}

/// Fails the calls on files of the external folder.
void failExternal(TestLibrary& library, FileOperation operation) {
    library.platform().files->fail({.operation = operation,
                                    .pathPattern = library.externalFolder() + "*",
                                    .errorNumber = EIO});
}

const std::string nobody = identifier(99);

const Failure failures[] = {
    {"NoIdentifier",
     [](TestLibrary&, RequestBuilder& r) { add(r, RecordBuilder::tag("x")); },
     "Invalid record identifier."},
    {"DeletionWithoutIdentifier",
     [](TestLibrary&, RequestBuilder& r) { add(r, RecordBuilder::deletion("Tag", "x")); },
     "Invalid record identifier."},
    {"UnknownType",
     [](TestLibrary&, RequestBuilder& r) { add(r, RecordBuilder("Book", nobody)); },
     "Unknown iCloud record type."},
    {"DeletionOfAnUnknownType",
     [](TestLibrary&, RequestBuilder& r) { add(r, RecordBuilder::deletion("Book", nobody)); },
     "Unknown iCloud record type."},
    {"DataOutsideTheFolder",
     [](TestLibrary&, RequestBuilder& r) {
         add(r, RecordBuilder::thing(nobody).with("data", "/etc/hostname"));
     },
     "Invalid asset path."},
    {"IconOutsideTheFolder",
     [](TestLibrary&, RequestBuilder& r) {
         add(r, RecordBuilder::thing(nobody).with("icon", "/etc/hostname"));
     },
     "Invalid asset path."},
    {"MissingThumbnail",
     [](TestLibrary& library, RequestBuilder& r) {
         add(r,
             RecordBuilder::thing(nobody).with("thumbnail", library.exchangeFolder() + "/missing"));
     },
     "The file “missing” couldn’t be opened because there is no such file."},
    {"UnreadableData",
     [](TestLibrary& library, RequestBuilder& r) {
         add(r, RecordBuilder::thing(nobody).with("data", library.putFile("secret", "x")));
         library.platform().files->fail({.operation = FileOperation::openForReading,
                                         .pathPattern = "*/secret",
                                         .errorNumber = EACCES});
     },
     "The file “secret” couldn’t be opened because you don’t have permission to view it."},
    {"DataThatBreaksOffWhileItIsRead",
     [](TestLibrary& library, RequestBuilder& r) {
         add(r,
             RecordBuilder::thing(nobody).with(
                 "data", library.putFile("broken", std::string(900'000, 'x'))));
         library.platform().files->fail({.operation = FileOperation::fileRead,
                                         .pathPattern = "*/broken",
                                         .after = 1,
                                         .errorNumber = EIO});
     },
     "The file “broken” couldn’t be opened"},
    {"ProjectCycle",
     [](TestLibrary&, RequestBuilder& r) {
         add(r, RecordBuilder::project(nobody).with("parent", nobody));
     },
     "The library contains a project cycle."},
    {"PayloadFileCannotBeMade",
     [](TestLibrary& library, RequestBuilder&) { failExternal(library, FileOperation::create); },
     "couldn’t be saved"},
    {"PayloadFileCannotBeWritten",
     [](TestLibrary& library, RequestBuilder&) { failExternal(library, FileOperation::fileWrite); },
     "couldn’t be saved"},
    {"PayloadFileCannotBeFlushed",
     [](TestLibrary& library, RequestBuilder&) { failExternal(library, FileOperation::fileSync); },
     "couldn’t be saved"},
    {"PayloadFileCannotBeNamed",
     [](TestLibrary& library, RequestBuilder&) { failExternal(library, FileOperation::rename); },
     "couldn’t be saved"},
    {"PayloadFolderCannotBeFlushed",
     [](TestLibrary& library, RequestBuilder&) {
         failExternal(library, FileOperation::syncFolder);
     },
     "couldn’t be saved"},
};
INSTANTIATE_TEST_SUITE_P(Rollback, FailureAtTheEnd, testing::ValuesIn(failures), caseName<Failure>);

TEST(Rollback, FollowsASaveThatTheDatabaseRefuses) {
    FullLibrary full;
    full.library.changeStore(
        "CREATE TRIGGER \"no\" BEFORE INSERT ON \"Thing\" BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(full.library.exchange(full.change()).error(),
              "The library’s store “Kelto.store” couldn’t be used (no).");
    full.library.changeStore("DROP TRIGGER \"no\"");
    full.expectUntouched();
    full.expectChangeable();
}

TEST(Rollback, KeepsNothingOfARequestIntoAnEmptyStore) {
    TestLibrary library;
    EXPECT_TRUE(library
                    .exchange(RequestBuilder()
                                  .record(RecordBuilder::thing(thing).with(
                                      "data", library.putFile("in", large('x'))))
                                  .record(RecordBuilder::tag("x")))
                    .isError());
    EXPECT_THAT(library.exchange().records(), testing::IsEmpty());
    EXPECT_THAT(library.externalFiles(), testing::IsEmpty());
}

TEST(Rollback, LeavesTheHostsFilesAlone) {
    FullLibrary full;
    RequestBuilder request = full.change().record(RecordBuilder::tag("x"));
    (void)full.library.exchange(request);
    EXPECT_EQ(readFile(full.library.exchangeFolder() + "/after"), large('a'));
}

TEST(Rollback, IsNotNeededAfterARefusalBeforeTheMerge) {
    FullLibrary full;
    full.library.platform().account->status = AccountStatus::noAccount;
    EXPECT_TRUE(full.library.exchange(full.change()).isError());
    full.library.platform().account->status = AccountStatus::available;
    full.expectUntouched();
}

}  // namespace
}  // namespace kelto
