#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/keltoctl/KeltoctlTest.hpp"

namespace kelto::ctl {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class PageCommand : public KeltoctlTest {
protected:
    PageCommand() { std::filesystem::create_directory(folder.path("out")); }

    Outcome page(const std::string& file, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"page", file});
        return run(std::move(options));
    }

    /// What lies in the folder of the page: nothing but the page, however the command ended.
    [[nodiscard]] std::vector<std::string> filesBesideThePage() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("out")))
            names.push_back(entry.path().filename());
        return names;
    }
};

TEST_F(PageCommand, WritesTheSampleLibraryForItsUserAlone) {
    done({"import", KELTO_SAMPLES});
    const JsonValue report = json({"page", folder.path("out/library.html")});
    EXPECT_EQ(textOf(report, "file"), folder.path("out/library.html"));
    EXPECT_EQ(count(report, "items"), 25);
    EXPECT_EQ(count(report, "picturesEmbedded"), 9);
    EXPECT_EQ(count(report, "picturesLeftOut"), 0);
    struct stat found {};
    ASSERT_EQ(::stat(folder.path("out/library.html").c_str(), &found), 0);
    EXPECT_EQ(count(report, "bytes"), found.st_size);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
    EXPECT_THAT(filesBesideThePage(), testing::ElementsAre("library.html"));
    EXPECT_THAT(folder.read("out/library.html"), StartsWith("<!doctype html>"));
}

TEST_F(PageCommand, SaysWhatIsOnThePageAndWhatIsNot) {
    folder.write("box/large.png", "\x89PNG\r\n\x1A\n" + std::string(300'000, 'x'));
    folder.write("box/scan.tiff", "II*");
    done({"import", folder.path("box")});
    const Outcome outcome = page(folder.path("out/a.html"));
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, HasSubstr(": 2 things, 0 of them with a picture.\n"));
    EXPECT_THAT(outcome.output, HasSubstr("1 picture is left out as too large"));
    EXPECT_THAT(outcome.output, HasSubstr("--pictures all"));
    EXPECT_THAT(outcome.output, HasSubstr("1 picture is of a kind that browsers do not show"));
    const Outcome all = page(folder.path("out/b.html"), {"--pictures", "all"});
    EXPECT_THAT(all.output, HasSubstr("1 of them with a picture.\n"));
    EXPECT_EQ(page(folder.path("out/c.html"), {"--pictures", "some"}).status, 2);
}

TEST_F(PageCommand, ReplacesAFileOnlyWhenToldTo) {
    const std::string file = folder.write("out/page.html", "precious");
    const Outcome refused = page(file);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.complaint,
              "keltoctl: “" + file + "” is there already; --force replaces it.\n");
    EXPECT_EQ(folder.read("out/page.html"), "precious");
    EXPECT_EQ(page(file, {"--force"}).status, 0);
    EXPECT_THAT(folder.read("out/page.html"), StartsWith("<!doctype html>"));
    EXPECT_THAT(filesBesideThePage(), testing::ElementsAre("page.html"));
}

TEST_F(PageCommand, ReplacesALinkAndNotWhatItLeadsTo) {
    folder.write("elsewhere", "precious");
    std::filesystem::create_symlink(folder.path("elsewhere"), folder.path("out/page.html"));
    EXPECT_EQ(page(folder.path("out/page.html")).status, 1);
    EXPECT_EQ(page(folder.path("out/page.html"), {"--force"}).status, 0);
    EXPECT_EQ(folder.read("elsewhere"), "precious");
}

TEST_F(PageCommand, RefusesAFolder) {
    const Outcome outcome = page(folder.path("out"), {"--force"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint,
              "keltoctl: “" + folder.path("out") +
                  "” is a folder; name the file to write, for "
                  "example “" +
                  folder.path("out/library.html") + "”.\n");
}

TEST_F(PageCommand, RefusesAFileInAFolderThatIsNotThere) {
    const Outcome outcome = page(folder.path("none/page.html"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint,
              "keltoctl: cannot write “" + folder.path("none/page.html") +
                  "”: there is no folder “" + folder.path("none") +
                  "”; make it first, or name a file elsewhere.\n");
}

TEST_F(PageCommand, RefusesWhatIsNoFile) {
    const Outcome outcome = page("/dev/null", {"--force"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint, "keltoctl: “/dev/null” is no ordinary file; name another one.\n");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(PageCommand, SaysWhyAFileCannotBeMade) {
    // Nobody can make a file there, not even root.
    const Outcome outcome = page("/proc/page.html");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint, StartsWith("keltoctl: cannot write “/proc/page.html”: "));
    EXPECT_THAT(outcome.complaint, HasSubstr("; name a file "));
    const Outcome tooLong = page(folder.path("out/" + std::string(300, 'x')));
    EXPECT_EQ(tooLong.status, 1);
    EXPECT_THAT(tooLong.complaint, HasSubstr("; give it a shorter name.\n"));
    EXPECT_EQ(page("").status, 2);
}

TEST_F(PageCommand, SaysWhenTheFolderBelongsToSomebodyElse) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
    std::filesystem::permissions(folder.path("out"), std::filesystem::perms::owner_read);
    const Outcome outcome = page(folder.path("out/page.html"));
    std::filesystem::permissions(folder.path("out"), std::filesystem::perms::owner_all);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint, HasSubstr("; name a file in a folder that you may write to.\n"));
}

TEST_F(PageCommand, LeavesNothingBehindWhenTheLibraryCannotBeReached) {
    extraEnvironment.emplace_back("KELTO_DISABLE_CLOUDKIT=1");
    const Outcome outcome = page(folder.path("out/page.html"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint, StartsWith("keltoctl: "));
    EXPECT_THAT(filesBesideThePage(), testing::IsEmpty());
}

}  // namespace
}  // namespace kelto::ctl
