#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/keltoctl/KeltoctlTest.hpp"

namespace kelto::ctl {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* nothing = "Nothing was changed: this only shows what would be.\n";

class TryingOut : public KeltoctlTest {
protected:
    TryingOut() {
        done({"add", "note", "bread", "--title", "Shopping"});
        id = idOf("Shopping");
    }
    std::string tried(std::vector<std::string> arguments) {
        const std::string before = run({"--json", "tree"}).output;
        arguments.emplace_back("--dry-run");
        const Outcome outcome = run(std::move(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
        EXPECT_EQ(run({"--json", "tree"}).output, before);
        return outcome.output;
    }

    std::string id;
};

TEST_F(TryingOut, ShowsWhatWouldBecomeOfEachRecord) {
    const std::string shortId = id.substr(0, 8);
    EXPECT_THAT(tried({"edit", id, "--title", "Errands"}),
                AllOf(StartsWith("~ Thing “Errands” (" + shortId + ")\n"),
                      HasSubstr("“Shopping” → “Errands”"),
                      EndsWith(nothing)));
    EXPECT_THAT(tried({"add", "note", "more", "--tag", "new"}),
                AllOf(StartsWith("+ Tag “new” ("), HasSubstr("+ Thing “more” (")));
    EXPECT_THAT(tried({"tag", id, "--add", "new"}), HasSubstr("tags"));
    EXPECT_THAT(tried({"trash", id}), HasSubstr("trashedAt"));
    EXPECT_THAT(tried({"restore", id}), StartsWith("~ Thing"));
    EXPECT_THAT(tried({"move", id, "--top"}), StartsWith("~ Thing"));
    EXPECT_THAT(tried({"delete", id}), StartsWith("- Thing “Shopping” (" + shortId + ")\n"));
}

TEST_F(TryingOut, OfAnImportNamesTheFilesAndCopiesNone) {
    folder.write("box/a.note.md", "first");
    folder.write("box/Film.mp4", std::string(100'000, 'f'));
    EXPECT_THAT(tried({"import", folder.path("box")}),
                AllOf(StartsWith("2 new, 0 updated"),
                      HasSubstr("+ Project “box”"),
                      HasSubstr("+ Thing “Film”")));
    done({"import", folder.path("box"), "--link"});
    std::filesystem::remove(folder.path("box/Film.mp4"));
    EXPECT_THAT(tried({"import", folder.path("box"), "--link"}), HasSubstr("- Thing “Film”"));
}

TEST_F(TryingOut, OfAnExportNamesTheFilesThatItWouldWrite) {
    done({"add", "note", "milk", "--title", "Shopping"});
    const std::string planned = tried({"export", folder.path("out")});
    EXPECT_THAT(planned,
                AllOf(HasSubstr(folder.path("out/Shopping.note.md") + "\n"),
                      HasSubstr(folder.path("out/Shopping (2).note.md") + "\n"),
                      HasSubstr("2 files and 0 folders.")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("out")));
    done({"export", folder.path("out")});
    EXPECT_TRUE(std::filesystem::exists(folder.path("out/Shopping (2).note.md")));
    EXPECT_THAT(tried({"export", folder.path("out")}), HasSubstr("Shopping (4).note.md"));
}

TEST_F(TryingOut, DeletingAsksAndRefusesWhereNobodyCanBeAsked) {
    const Outcome outcome = run({"delete", id});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.complaint, HasSubstr("--yes"));
    EXPECT_EQ(things().size(), 1U);
    done({"delete", id, "--yes"});
    EXPECT_EQ(things().size(), 0U);
}

TEST_F(TryingOut, AMistypedWordIsAnsweredWithTheOneThatWasMeant) {
    EXPECT_EQ(run({"lsit"}).complaint, "keltoctl: “lsit” is not a command; did you mean “list”?\n");
    EXPECT_EQ(run({"list", "--stared"}).complaint,
              "keltoctl: “--stared” is no option of “keltoctl list”; did you mean “--starred”?\n");
    EXPECT_EQ(run({"add", "qoute", "x"}).complaint,
              "keltoctl: “qoute” is not a command; did you mean “quote”?\n");
    EXPECT_EQ(
        run({"list", "--kind", "imgae"}).complaint,
        "keltoctl: --kind: “imgae” is not known; did you mean “image”? (“keltoctl list --help” "
        "shows what it takes).\n");
    EXPECT_THAT(run({"page", "--pictures", "smal", "x.html"}).complaint,
                HasSubstr("did you mean “small”?"));
    EXPECT_EQ(run({"lsit"}).status, 2);
}

TEST_F(TryingOut, AnOptionWithoutItsValueIsNamed) {
    EXPECT_EQ(run({"add", "note", "x", "--title"}).complaint,
              "keltoctl: --title wants a value behind it (“keltoctl add note --help” shows what it "
              "takes).\n");
}

TEST_F(TryingOut, AThingThatIsNamedTwiceIsDeletedOnce) {
    done({"add", "note", "n", "--title", "Only"});
    const std::string id = idOf("Only");
    const Outcome outcome = run({"delete", id, id.substr(0, 10), "--yes"});
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, HasSubstr("1 record sent"));
}

TEST_F(TryingOut, ALinkThatIsNamedAsAFileIsRefusedAsOne) {
    std::filesystem::create_symlink(folder.write("a.txt", "a"), folder.path("link"));
    EXPECT_THAT(run({"add", "file", folder.path("link")}).complaint,
                HasSubstr("is a symbolic link; name the file that it leads to."));
}

TEST_F(TryingOut, ColoursAreThereWhenTheyAreWished) {
    EXPECT_THAT(run({"list"}).output, Not(HasSubstr("\x1b[")));
    EXPECT_THAT(run({"list", "--color", "always"}).output, HasSubstr("\x1b["));
    EXPECT_THAT(run({"list", "--color", "always", "--json"}).output, Not(HasSubstr("\x1b[")));
    EXPECT_EQ(run({"list", "--color", "sometimes"}).status, 2);
}

TEST_F(TryingOut, LinesAreAsWideAsCOLUMNSSays) {
    done({"add", "note", "n", "--title", std::string(200, 'x')});
    extraEnvironment.emplace_back("COLUMNS=40");
    const std::string list = run({"list"}).output;
    EXPECT_THAT(list, HasSubstr("xx…"));
    extraEnvironment.clear();
    EXPECT_THAT(run({"list"}).output, HasSubstr(std::string(200, 'x')));
}

}  // namespace
}  // namespace kelto::ctl
