// What stands in a library is for its user alone: nobody else may read its files, and no word of it
// is printed, logged, or quoted in a sentence about a failure.

#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/processes/HostLibrary.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// --- Permissions
// ----------------------------------------------------------------------------------

/// The umask that programs started meanwhile inherit.
class InheritedUmask {
public:
    explicit InheritedUmask(mode_t mask) : before_(::umask(mask)) {}
    InheritedUmask(const InheritedUmask&) = delete;
    InheritedUmask& operator=(const InheritedUmask&) = delete;
    ~InheritedUmask() { ::umask(before_); }

private:
    mode_t before_;
};

/// Everything below a folder, and the folder: files 0600, folders 0700, nothing else. How many.
int expectPrivate(const std::string& folder) {
    int count = 1;
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0700)) << folder;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const bool isFolder = entry.is_directory();
        EXPECT_TRUE(isFolder || entry.is_regular_file()) << entry.path();
        EXPECT_EQ(entry.symlink_status().permissions(), fs::perms(isFolder ? 0700 : 0600))
            << entry.path();
        ++count;
    }
    return count;
}

class Permissions : public testing::TestWithParam<mode_t> {};

TEST_P(Permissions, AreTheUsersAloneWhateverTheUmask) {
    HostLibrary library;
    const RequestBuilder request =
        RequestBuilder()
            .record(RecordBuilder::thing(firstId)
                        .with("data", library.putFile("large", std::string(300'000, 'x')))
                        .with("icon", library.putFile("small", "small")))
            .record(RecordBuilder::tag(identifier(2)));
    {
        const InheritedUmask inherited(GetParam());
        HostProcess host(library.process());
        EXPECT_EQ(host.ask(library.text(request)).response().error(), "");
        // While the store is open, the files beside it are there.
        EXPECT_GE(expectPrivate(library.groupFolder()), 8);
        EXPECT_EQ(expectPrivate(library.receivedFolder()), 3);
        EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
    }
    EXPECT_GE(expectPrivate(library.groupFolder()), 6);
    EXPECT_EQ(library.exchangeOnce().error(), "") << "the next one finds its way";
}

INSTANTIATE_TEST_SUITE_P(Umasks, Permissions, testing::Values(0, 022, 077, 0777));

// --- Words
// ----------------------------------------------------------------------------------------

/// Stands in everything that the library is given but in the names of files.
const std::string secret = "Sesame";

RecordBuilder secretThing(unsigned number) {
    return RecordBuilder::thing(identifier(number))
        .with("kind", "note")
        .with("title", secret + " title")
        .with("subtitle", secret + " subtitle")
        .with("content", secret + " content")
        .with("note", secret + " note")
        .with("urlString", "https://" + secret + ".example/" + secret)
        .with("typeIdentifier", secret)
        .with("metadataJson", R"({"author":")" + secret + R"("})")
        .with("extra", secret)
        .with("updatedAt", 5000);
}

/// A host that is asked to say as much as it can.
HostProcess::Options talkative(const HostLibrary& library) {
    HostProcess::Options options = library.process();
    options.environment["G_MESSAGES_DEBUG"] = "all";
    return options;
}

/// Requests that fail in every way that a request can, each with the secret at the place of the
/// fault.
std::vector<std::string> failingRequests(const HostLibrary& library) {
    const auto text = [&](const RecordBuilder& record) {
        return library.text(RequestBuilder().record(record));
    };
    const std::string good = text(secretThing(3));
    const auto spoiled = [&](const std::string& what, const std::string& by) {
        std::string request = good;
        return request.replace(request.find(what), what.size(), by);
    };
    return {
        good.substr(0, good.size() / 2),
        good + secret,
        spoiled(secret + " title\"", secret + "\n"),
        spoiled("\"" + secret + " title\"", secret),
        spoiled("\"title\"", "\"\\ud800" + secret + "\""),
        "\"" + secret + "\"",
        library.text(RequestBuilder().with("version", secret)),
        library.text(RequestBuilder().with("storePath", "/tmp/" + secret)),
        text(secretThing(3).with("recordType", secret)),
        text(secretThing(3).with("uuid", secret)),
        text(secretThing(3).with("data", "/" + secret + "/file")),
        text(secretThing(3).with("data", library.exchangeFolder() + "/" + secret + "/file")),
        text(secretThing(3).with("data", library.exchangeFolder() + "/missing")),
        library.text(RequestBuilder()
                         .with("directory", library.exchangeFolder() + "/" + secret + "/\x01")
                         .record(secretThing(3).with("data", library.exchangeFolder() + "/in"))),
        text(RecordBuilder::project(identifier(9))
                 .with("name", secret)
                 .with("parent", identifier(9)))};
}

TEST(Privacy, NoWordOfTheLibraryIsPrintedOrQuotedInAFailure) {
    HostLibrary library;
    (void)library.putFile("in", secret + " bytes");
    HostProcess host(talkative(library));
    const Response saved =
        host
            .ask(library.text(
                RequestBuilder()
                    .record(secretThing(1).with("data", library.exchangeFolder() + "/in"))
                    .record(RecordBuilder::tag(identifier(4)).with("name", secret + " tag"))
                    .record(
                        RecordBuilder::project(identifier(5)).with("name", secret + " project"))))
            .response();
    EXPECT_EQ(saved.error(), "");
    EXPECT_THAT(saved.text(), HasSubstr(secret)) << "the answer itself is full of it";
    for (const std::string& request : failingRequests(library)) {
        const Response response = host.ask(request).response();
        EXPECT_TRUE(response.isError()) << request;
        EXPECT_THAT(response.text(), Not(HasSubstr(secret))) << request;
    }
    EXPECT_EQ(host.wait(), HostEnd());
    EXPECT_THAT(host.standardError(), HasSubstr("refused"));
    EXPECT_THAT(host.standardError(), Not(HasSubstr(secret)));
}

TEST(Privacy, NoWordIsPrintedAboutADamagedStore) {
    HostLibrary library;
    RequestBuilder request;
    for (unsigned i = 0; i < 300; ++i) request.record(secretThing(i));
    EXPECT_EQ(library.exchangeOnce(request).error(), "");
    const std::string store = library.libraryFolder() + "/Kelto.store";
    std::string bytes = readFile(store);
    for (std::size_t at = 4096 * 2; at < bytes.size(); at += 4096) bytes[at] = '\x7F';
    writeFile(store, bytes);
    HostProcess host(talkative(library));
    const Response response = host.ask(library.text(request)).response();
    EXPECT_TRUE(response.isError());
    EXPECT_THAT(response.text(), Not(HasSubstr(secret)));
    EXPECT_EQ(host.wait(), HostEnd());
    EXPECT_THAT(host.standardError(), HasSubstr("refused"));
    EXPECT_THAT(host.standardError(), Not(HasSubstr(secret)));
}

TEST(Privacy, NoWordIsPrintedWhenTheProcessHasToEnd) {
    HostLibrary library;
    HostProcess host(talkative(library));
    host.send(library.text(RequestBuilder().record(secretThing(1).with("createdAt", 1e300))), 1);
    EXPECT_EQ(host.wait().signal, SIGABRT);
    EXPECT_THAT(host.standardError(), HasSubstr("Fatal error"));
    EXPECT_THAT(host.standardError(), Not(HasSubstr(secret)));
}

}  // namespace
}  // namespace kelto
