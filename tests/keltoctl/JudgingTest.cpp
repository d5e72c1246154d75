#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/keltoctl/KeltoctlTest.hpp"

namespace kelto::ctl {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// The real program, its library, and requests that a developer has saved.
class JudgingTest : public KeltoctlTest {
protected:
    std::string request(const JsonElements& records, const std::string& name = "request.json") {
        const JsonValue document{JsonMembers{{"version", 1},
                                             {"storePath", textOf(json({"status"}), "storePath")},
                                             {"directory", folder.path("raw")},
                                             {"records", records}}};
        return folder.write(name, document.text());
    }
    std::string storeBytes() {
        return folder.read("data/group.app.kelto/Library/Kelto.store") +
               folder.read("data/group.app.kelto/Library/Kelto.store-wal");
    }
    std::string snapshot() { return textOf(json({"status"}), "stateFolder") + "/snapshot.json"; }
};

TEST_F(JudgingTest, DiffOfTheSameEndsWithNoughtAndOfOthersWithOne) {
    done({"add", "note", "bread", "--title", "Shopping"});
    const std::string id = idOf("Shopping");
    std::filesystem::copy_file(snapshot(), folder.path("before.json"));
    const Outcome same = run({"diff", folder.path("before.json"), folder.path("before.json")});
    EXPECT_EQ(same.status, 0) << same.complaint;
    EXPECT_EQ(same.output, "The same: 1 record.\n");
    done({"edit", id, "--title", "Errands"});
    done({"add", "note", "more", "--title", "Other"});
    const Outcome other = run({"diff", folder.path("before.json"), snapshot()});
    EXPECT_EQ(other.status, 1) << other.complaint;
    EXPECT_THAT(other.output,
                AllOf(HasSubstr("~ Thing “Errands” (" + id.substr(0, 8) + ")"),
                      HasSubstr("“Shopping” → “Errands”"),
                      HasSubstr(" later in B\n"),
                      HasSubstr("+ Thing “Other”"),
                      HasSubstr("2 records of 1 and 2 not the same.")));
}

TEST_F(JudgingTest, DiffOfWhatCannotBeComparedEndsWithTwo) {
    const std::string broken = folder.write("broken.json", "{\"records\":[}");
    const Outcome outcome = run({"diff", broken, broken});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.complaint,
                AllOf(StartsWith("keltoctl: “" + broken + "” cannot be compared: "),
                      HasSubstr("line 1, column 13")));
    EXPECT_EQ(run({"diff", folder.path("none"), broken}).status, 2);
}

TEST_F(JudgingTest, ExplainSaysWhyAndChangesNothing) {
    done({"add", "note", "bread", "--title", "Shopping"});
    const JsonValue stored = json({"show", idOf("Shopping")});
    JsonValue older = stored;
    older.setMember("title", "Older");
    older.setMember("updatedAt", count(stored, "updatedAt") - 2000);
    JsonValue later = stored;
    later.setMember("title", "Later");
    later.setMember("updatedAt", count(stored, "updatedAt") + 2000);
    const std::string both = request({older, later});
    const std::string before = storeBytes();

    const Outcome outcome = run({"explain", both});
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output,
                AllOf(StartsWith("skip      Thing “Older”"),
                      HasSubstr("2 s later than the host's"),
                      HasSubstr("\napply     Thing “Later”"),
                      HasSubstr("2 s later than the library's"),
                      HasSubstr(std::to_string(count(later, "updatedAt")))));
    EXPECT_EQ(storeBytes(), before);
    EXPECT_EQ(run({"exchange", both}).status, 0);
    EXPECT_EQ(textOf(json({"show", textOf(stored, "uuid")}), "title"), "Later");
}

TEST_F(JudgingTest, ExplainTellsWhichRecordTheLibraryWouldRefuse) {
    const JsonValue good{JsonMembers{
        {"recordType", "Tag"}, {"uuid", "11111111-1111-4111-8111-111111111111"}, {"name", "a"}}};
    const std::string bad = request({good, JsonMembers{{"recordType", "Tag"}, {"uuid", "x"}}});
    const Outcome outcome = run({"explain", bad});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output,
                HasSubstr("refuse the request: Invalid record identifier. It is about record 2."));
    EXPECT_EQ(run({"exchange", bad}).status, 1);
    EXPECT_THAT(run({"explain", folder.write("no.json", "{")}).output, HasSubstr("line 1"));
    EXPECT_EQ(run({"explain", folder.path("none")}).status, 1);
}

TEST_F(JudgingTest, ExplainOfALibraryThatIsNotThereMakesNone) {
    const std::string path = folder.path("data/group.app.kelto/Library/Kelto.store");
    const JsonValue document{
        JsonMembers{{"version", 1},
                    {"storePath", path},
                    {"directory", folder.path("raw")},
                    {"records",
                     JsonElements{JsonMembers{{"recordType", "Tag"},
                                              {"uuid", "11111111-1111-4111-8111-111111111111"}}}}}};
    const Outcome outcome = run({"explain", folder.write("request.json", document.text())});
    EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.complaint;
    EXPECT_THAT(outcome.output, StartsWith("create    Tag"));
    EXPECT_FALSE(std::filesystem::exists(folder.path("data/group.app.kelto/Library")));
}

TEST_F(JudgingTest, WithoutARequestItIsTheOneThatThisHostWouldSend) {
    done({"add", "note", "bread", "--title", "Shopping"});
    const std::string id = idOf("Shopping");
    (void)runAs("there", {"edit", id, "--title", "Errands"});
    const Outcome explained = run({"explain"});
    EXPECT_THAT(explained.output, StartsWith("skip      Thing “Shopping”"));
    EXPECT_EQ(run({"exchange", "--dry-run"}).output, explained.output);
    EXPECT_THAT(run({"exchange"}).output, HasSubstr("~ Thing “Errands”"));
}

}  // namespace
}  // namespace kelto::ctl
