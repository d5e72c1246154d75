#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Json.hpp"
#include "tests/keltoctl/KeltoctlTest.hpp"

namespace kelto::ctl {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string sample(std::string_view name) {
    return std::string(KELTO_SAMPLES "/").append(name);
}

class SampleLibrary : public KeltoctlTest {
protected:
    SampleLibrary() { done({"import", KELTO_SAMPLES}); }
};

TEST_F(SampleLibrary, IsImportedWholeAndInKinds) {
    const JsonValue tree = json({"tree"});
    const JsonValue& totals = *tree.member("totals");
    EXPECT_EQ(count(totals, "image"), 9);
    EXPECT_EQ(count(totals, "video"), 2);
    EXPECT_EQ(count(totals, "link"), 2);
    EXPECT_EQ(count(totals, "tweet"), 1);
    EXPECT_EQ(count(totals, "github"), 1);
    EXPECT_EQ(count(totals, "quote"), 2);
    EXPECT_EQ(count(totals, "document"), 5);
    EXPECT_EQ(count(totals, "note"), 3);
}

TEST_F(SampleLibrary, IsDrawnAsATree) {
    const Outcome tree = run({"tree"});
    EXPECT_THAT(tree.output, HasSubstr("PNG       Harbour at dusk"));
    EXPECT_THAT(tree.output, HasSubstr("9 projects, 0 tags, 25 things"));
}

TEST_F(SampleLibrary, IsNotImportedTwice) {
    const JsonValue second = json({"import", KELTO_SAMPLES});
    EXPECT_EQ(count(second, "unchanged"), 25);
    EXPECT_EQ(count(*second.member("exchange"), "recordsSent"), 0);
    EXPECT_EQ(things().size(), 25U);
}

TEST_F(SampleLibrary, ReachesAnotherHostWithEveryFile) {
    const JsonValue other = jsonAs("there", {"tree"});
    EXPECT_EQ(count(*other.member("totals"), "image"), 9);
    const JsonValue picture = jsonAs("there", {"show", idOf("Harbour at dusk", "there")});
    EXPECT_EQ(std::filesystem::file_size(textOf(picture, "data")),
              std::filesystem::file_size(sample("Harbour at dusk.png")));
}

TEST_F(SampleLibrary, LetsExactlyOneThingTravelAfterAnEdit) {
    const std::string id = idOf("Harbour at dusk");
    const JsonValue edit = json({"edit", id.substr(0, 13), "--title", "Evening"});
    const JsonValue& exchange = *edit.member("exchange");
    EXPECT_EQ(count(exchange, "recordsSent"), 1);
    EXPECT_EQ(count(exchange, "fingerprintsChanged"), 1);
    EXPECT_EQ(count(exchange, "payloadFilesWritten"), 1);  // its own, and no other thing's
    const JsonValue shown = json({"show", id});
    EXPECT_EQ(textOf(shown, "title"), "Evening");
    EXPECT_EQ(textOf(shown, "fileName"), "Harbour at dusk.png");
    EXPECT_EQ(std::filesystem::file_size(textOf(shown, "data")),
              std::filesystem::file_size(sample("Harbour at dusk.png")));
}

TEST_F(SampleLibrary, MovesNothingWhenBothSidesHoldTheSame) {
    const JsonValue report = json({"exchange"});
    EXPECT_EQ(count(report, "recordsSent"), 34);
    EXPECT_EQ(count(report, "fingerprintsChanged"), 0);
    EXPECT_EQ(count(report, "payloadFilesWritten"), 0);
}

TEST_F(SampleLibrary, IsListedByKindProjectAndSearch) {
    EXPECT_EQ(things({"--kind", "image", "--project", "Winter"}).size(), 3U);
    EXPECT_EQ(things({"--search", "SOCKS"}).size(), 0U);
    EXPECT_EQ(things({"--search", "blue CHEESE"}).size(), 1U);
}

TEST_F(SampleLibrary, IsExportedWithEveryByteAndImportsAsTheSameKinds) {
    const JsonValue report = json({"export", folder.path("out")});
    EXPECT_EQ(count(report, "files"), 25);
    std::ostringstream original;
    original << std::ifstream(sample("Photos/Winter/Night sky/Moon phases.svg")).rdbuf();
    EXPECT_EQ(folder.read("out/library/Photos/Winter/Night sky/Moon phases.svg"), original.str());
    const JsonValue again = jsonAs("here", {"import", folder.path("out/library")});
    EXPECT_EQ(count(again, "added"), 25);
    EXPECT_EQ(things({"--kind", "quote"}).size(), 4U);
    EXPECT_EQ(things({"--kind", "github"}).size(), 2U);
}

TEST_F(SampleLibrary, IsNeverOverwrittenByAnExport) {
    done({"export", folder.path("out")});
    done({"export", folder.path("out")});
    EXPECT_TRUE(std::filesystem::exists(folder.path("out/library (2)/Orbits.gif")));
}

TEST_F(KeltoctlTest, ReadsNotesAndQuotesBackWhateverTheirTitles) {
    for (const std::string& title :
         {std::string("Same"), std::string("Same"), std::string(300, 'x')}) {
        done({"add", "note", "text", "--title", title});
        done({"add", "quote", "text", "--title", title, "--author", ""});
    }
    done({"export", folder.path("out")});
    done({"import", folder.path("out"), "--project", "back"});
    const JsonElements back = things({"--project", "back"});
    EXPECT_EQ(back.size(), 6U);
    EXPECT_EQ(std::count_if(back.begin(),
                            back.end(),
                            [](const JsonValue& thing) { return textOf(thing, "kind") == "note"; }),
              3);
    for (const JsonValue& thing : back) EXPECT_EQ(textOf(thing, "content"), "text");
}

TEST_F(KeltoctlTest, AddsEveryKindOfThing) {
    EXPECT_EQ(run({"add", "note", "-", "--tag", "home", "--star"}, "bread\n").status, 0);
    done({"add", "quote", "wet", "--author", "A gardener", "--tag", "Home"});
    done({"add", "link", "https://github.com/octocat/Hello-World", "--title", "Hello"});
    done({"add", "file", sample("Orbits.gif"), "--note", "turns"});
    EXPECT_EQ(things({"--tag", "HOME"}).size(), 2U);
    EXPECT_EQ(things({"--starred"}).size(), 1U);
    EXPECT_EQ(textOf(things({"--kind", "github"}).at(0), "title"), "Hello");
    EXPECT_EQ(textOf(things({"--kind", "image"}).at(0), "note"), "turns");
    EXPECT_EQ(textOf(things({"--kind", "note"}).at(0), "content"), "bread\n");
}

TEST_F(KeltoctlTest, ReplacesAThingsFile) {
    done({"add", "file", sample("Orbits.gif")});
    const std::string id = idOf("Orbits");
    done({"edit", id, "--file", sample("Papers/Paper boat.pdf")});
    const JsonValue thing = json({"show", id});
    EXPECT_EQ(textOf(thing, "kind"), "document");
    EXPECT_EQ(textOf(thing, "badge"), "PDF");
    EXPECT_EQ(std::filesystem::file_size(textOf(thing, "data")),
              std::filesystem::file_size(sample("Papers/Paper boat.pdf")));
    done({"edit", id, "--no-file"});
    EXPECT_EQ(json({"show", id}).member("data"), nullptr);
}

TEST_F(KeltoctlTest, TagsAndUntags) {
    done({"add", "note", "n"});
    const std::string id = idOf("n");
    done({"tag", id, "--add", "one", "--add", "two"});
    done({"tag", id, "--remove", "ONE"});
    EXPECT_EQ(json({"show", id}).member("tagNames")->text(), R"(["two"])");
    EXPECT_EQ(run({"tag", id, "--remove", "three"}).status, 1);
}

TEST_F(SampleLibrary, MovesThingsAndProjects) {
    const std::string id = idOf("Orbits");
    done({"move", id, "--project", "winter"});
    EXPECT_EQ(textOf(json({"show", id}), "projectPath"), "library / Photos / Winter");
    done({"move", id, "--top"});
    EXPECT_EQ(json({"show", id}).member("project"), nullptr);
    EXPECT_EQ(run({"move", id}).status, 2);
}

TEST_F(SampleLibrary, RefusesAProjectThatWouldLieInItself) {
    const JsonValue tree = json({"tree"});
    const std::string root = textOf(tree.member("projects")->array()->at(0), "uuid");
    const Outcome outcome = run({"move", root, "--project", "Winter"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint, "keltoctl: The library contains a project cycle.\n");
}

TEST_F(KeltoctlTest, TrashesRestoresAndDeletes) {
    done({"add", "note", "n"});
    const std::string id = idOf("n");
    done({"trash", id});
    EXPECT_EQ(things().size(), 0U);
    EXPECT_EQ(things({"--trashed"}).size(), 1U);
    done({"restore", id});
    EXPECT_EQ(things().size(), 1U);
    done({"delete", id, "--yes"});
    EXPECT_EQ(things().size(), 0U);
    EXPECT_EQ(run({"delete", id, "--yes"}).status, 1);
}

TEST_F(KeltoctlTest, KeepsBothVersionsOfALinkedFileChangedOnBothSides) {
    folder.write("box/a.note.md", "first");
    done({"import", folder.path("box"), "--link"});
    const std::string id = idOf("a");
    EXPECT_EQ(runAs("there", {"edit", id, "--content", "changed there"}).status, 0);
    folder.write("box/a.note.md", "changed here");
    done({"import", folder.path("box"), "--link"});
    std::vector<std::string> contents;
    for (const JsonValue& thing : things()) contents.push_back(textOf(thing, "content"));
    EXPECT_THAT(contents, testing::UnorderedElementsAre("changed here", "changed there"));
    EXPECT_EQ(textOf(json({"show", id}), "content"), "changed here");
}

TEST_F(KeltoctlTest, FollowsALinkedFolder) {
    folder.write("box/a.txt", "a");
    folder.write("box/in/b.txt", "b");
    done({"import", folder.path("box"), "--link"});
    std::filesystem::remove_all(folder.path("box/in"));
    folder.write("box/c.txt", "c");
    const JsonValue second = json({"import", folder.path("box"), "--link"});
    EXPECT_EQ(count(second, "added"), 1);
    EXPECT_EQ(count(second, "deleted"), 2);
    EXPECT_EQ(things().size(), 2U);
}

TEST_F(KeltoctlTest, LetsALaterEditStandAgainstAnEarlierRecord) {
    done({"add", "note", "n"});
    const std::string id = idOf("n");
    JsonValue earlier = json({"show", id});
    done({"edit", id, "--title", "newer"});
    earlier.setMember("title", "older");
    const JsonValue request{JsonMembers{{"version", 1},
                                        {"storePath", textOf(json({"status"}), "storePath")},
                                        {"directory", folder.path("raw")},
                                        {"records", JsonElements{earlier}}}};
    EXPECT_EQ(run({"exchange", "-"}, request.text()).status, 0);
    EXPECT_EQ(textOf(json({"show", id}), "title"), "newer");
}

TEST_F(KeltoctlTest, KeepsBothVersionsWhenAHostThatWasAwayEditsALinkedThing) {
    folder.write("box/a.note.md", "first");
    done({"import", folder.path("box"), "--link"});
    const std::string id = idOf("a", "there");
    done({"edit", id, "--content", "changed here"});
    const Outcome away = runAs("there", {"--no-refresh", "edit", id, "--content", "changed there"});
    EXPECT_EQ(away.status, 0) << away.complaint;
    EXPECT_THAT(away.output, HasSubstr("New in the library: "));
    EXPECT_EQ(things().size(), 2U);
}

TEST_F(KeltoctlTest, PassesARawRequestOn) {
    const Outcome refused = run({"exchange", "-"}, "{}");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(JsonValue::parse(refused.output).member("error")->text(),
              "\"Invalid bridge request.\"");
    EXPECT_EQ(refused.complaint, "keltoctl: Invalid bridge request.\n");
    EXPECT_EQ(run({"exchange", folder.path("no such file")}).status, 1);
}

TEST_F(KeltoctlTest, TellsItsPlacesAndStatus) {
    const Outcome path = run({"group-path"});
    EXPECT_THAT(path.output, StartsWith(folder.path("data") + "/"));
    const JsonValue status = json({"status"});
    EXPECT_EQ(count(status, "things"), 0);
    EXPECT_THAT(textOf(status, "storePath"), testing::EndsWith("/Library/Kelto.store"));
    EXPECT_THAT(textOf(status, "exchangeFolder"), StartsWith(folder.path("state-here")));
}

TEST_F(KeltoctlTest, SaysWhetherCloudSyncMayBeUsed) {
    EXPECT_EQ(run({"available"}).status, 0);
    extraEnvironment.emplace_back("KELTO_DISABLE_CLOUDKIT=1");
    const Outcome outcome = run({"available"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "no\n");
    EXPECT_EQ(run({"tree"}).status, 1);
}

TEST_F(KeltoctlTest, TellsWrongUsageFromARefusal) {
    EXPECT_EQ(run({}).status, 2);
    EXPECT_EQ(run({"bogus"}).status, 2);
    EXPECT_EQ(run({"edit", "x"}).status, 2);
    EXPECT_EQ(run({"list", "--kind", "picture"}).status, 2);
    EXPECT_EQ(run({"show", "abc"}).status, 1);
    EXPECT_THAT(run({"show", "abc"}).complaint, StartsWith("keltoctl: no thing"));
}

TEST_F(KeltoctlTest, HelpsWithEveryCommand) {
    for (const char* command :
         {"import", "export",  "tree",           "list",   "show",       "add",
          "edit",   "tag",     "move",           "trash",  "restore",    "delete",
          "diff",   "explain", "exchange",       "status", "group-path", "available",
          "doctor", "backup",  "restore-backup", "page"}) {
        const Outcome help = run({command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_THAT(help.output, HasSubstr("Usage: ")) << command;
    }
}

}  // namespace
}  // namespace kelto::ctl
