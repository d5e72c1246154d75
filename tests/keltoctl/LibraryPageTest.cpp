#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Text.hpp"
#include "tests/keltoctl/FakeLibrary.hpp"
#include "tests/keltoctl/RecordsTest.hpp"
#include "tools/keltoctl/LibraryPage.hpp"
#include "tools/keltoctl/PageTemplate.hpp"
#include "tools/keltoctl/PictureType.hpp"

namespace kelto::ctl {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view gifFile = "GIF89a";
constexpr std::string_view gifAddress = "data:image/gif;base64,R0lGODlh";

std::size_t countOf(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size()))
        ++count;
    return count;
}

/// The header of a square PNG, filled up to `bytes`.
std::string squarePng(std::uint32_t side, std::size_t bytes) {
    std::string size;
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        size += static_cast<char>(static_cast<unsigned char>(side >> shift));
    std::string file = "\x89PNG\r\n\x1A\n" + std::string("\0\0\0\rIHDR", 8) + size + size;
    file.resize(std::max(bytes, file.size()), 'x');
    return file;
}

class LibraryPageTest : public RecordsTest {
protected:
    ThingRecord& addImage(std::string_view bytes) {
        ThingRecord& thing = add("image", "picture");
        thing.data = files.write("received/" + thing.id, bytes);
        return thing;
    }

    PageReport write(PictureChoice pictures = PictureChoice::small) {
        page.clear();
        return writeLibraryPage(snapshot(), pictures, 1'760'000'000'000, [&](auto piece) {
            if (whenBegun) std::exchange(whenBegun, nullptr)();
            page += piece;
        });
    }

    /// The library as the page's script finds it.
    [[nodiscard]] JsonValue document() const {
        const std::string_view mark = "id=\"library\">";
        const std::size_t begin = page.find(mark) + mark.size();
        return JsonValue::parse(page.substr(begin, page.find("</script>", begin) - begin));
    }
    [[nodiscard]] JsonValue item(std::string_view title) const {
        const JsonValue whole = document();
        for (const JsonValue& item : *whole.member("items")->array())
            if (textOf(item, "title") == title) return item;
        ADD_FAILURE() << "no item is called " << title;
        return {};
    }

    std::function<void()> whenBegun;
    std::string page;
};

TEST_F(LibraryPageTest, HoldsProjectsTagsAndThings) {
    projects.push_back({.id = "p", .name = "Photos", .linkedFolderOwner = "", .parent = {}});
    projects.push_back({.id = "w", .name = "Winter", .linkedFolderOwner = "me", .parent = "p"});
    tags.push_back({.id = "t", .name = "calm"});
    ThingRecord& thing = add("quote", "Rain");
    thing.content = "wet";
    thing.project = "w";
    thing.tags = {"t"};
    thing.metadataJson = R"({"author":"A gardener"})";
    const PageReport report = write();
    EXPECT_EQ(report.items, 1U);
    const JsonValue whole = document();
    EXPECT_EQ(whole.member("projects")->text(),
              R"([{"name":"Photos"},{"name":"Winter","parent":0,"linked":true}])");
    EXPECT_EQ(whole.member("tags")->text(), R"(["calm"])");
    const JsonValue rain = item("Rain");
    EXPECT_EQ(textOf(rain, "badge"), "QUOTE");
    EXPECT_EQ(textOf(rain, "content"), "wet");
    EXPECT_EQ(textOf(rain, "author"), "A gardener");
    EXPECT_EQ(rain.member("project")->text(), "1");
    EXPECT_EQ(rain.member("tags")->text(), "[0]");
}

TEST_F(LibraryPageTest, CountsTheTrash) {
    add("note", "kept");
    add("note", "thrown away").trashedAt = 5;
    EXPECT_EQ(write().inTrash, 1U);
    EXPECT_EQ(item("thrown away").member("trashed")->text(), "5");
}

TEST_F(LibraryPageTest, KeepsTextsOfTheLibraryFromBecomingMarkup) {
    add("note", "calm");
    write();
    const std::size_t tagsOfACalmPage = countOf(page, "<");
    const std::string title = "</script><script>alert(1)</script><!-- <script> <img src=x>";
    things.back().title = title;
    things.back().content = title;
    tags.push_back({.id = "t", .name = title});
    projects.push_back({.id = "p", .name = title, .linkedFolderOwner = "", .parent = {}});
    write();
    EXPECT_EQ(countOf(page, "<"), tagsOfACalmPage);
    EXPECT_EQ(textOf(item(title), "content"), title);
}

TEST_F(LibraryPageTest, FillsNoPlaceOfTheTemplateFromTheLibrary) {
    add("note", "{{script}}{{pictures}}{{policy}}");
    addImage(gifFile);
    write();
    EXPECT_EQ(countOf(page, gifAddress), 1U);
    EXPECT_EQ(countOf(page, pageTemplate::script), 1U);
    EXPECT_EQ(textOf(item("{{script}}{{pictures}}{{policy}}"), "kind"), "note");
}

TEST_F(LibraryPageTest, ForbidsEveryRequest) {
    write();
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; img-src data:; style-src 'sha256-"));
    EXPECT_THAT(page, Not(HasSubstr("unsafe-")));
}

TEST(PageTemplate, EndsNoElementThatItStandsIn) {
    EXPECT_EQ(countOf(pageTemplate::style, "</"), 0U);
    EXPECT_EQ(countOf(pageTemplate::script, "</"), 0U);
    EXPECT_EQ(countOf(pageTemplate::script, "<!--"), 0U);
    for (const char* place : {"policy", "style", "library", "script", "pictures"})
        EXPECT_EQ(countOf(pageTemplate::html, "{{" + std::string(place) + "}}"), 1U) << place;
}

TEST_F(LibraryPageTest, ShowsASmallPictureItself) {
    addImage(gifFile);
    const PageReport report = write();
    EXPECT_EQ(report.pictures, 1U);
    EXPECT_THAT(page, HasSubstr("id=\"picture-0\">" + std::string(gifAddress) + "</script>"));
    EXPECT_EQ(item("picture").member("picture")->text(), "0");
}

TEST_F(LibraryPageTest, PrefersTheThumbnail) {
    addImage(squarePng(1, 900)).thumbnail = files.write("received/thumbnail", gifFile);
    add("document", "paper").thumbnail = files.write("received/other", squarePng(1, 40));
    EXPECT_EQ(write().pictures, 2U);
    EXPECT_THAT(page, HasSubstr(gifAddress));
    EXPECT_EQ(countOf(page, "id=\"picture-"), 2U);
}

TEST_F(LibraryPageTest, CarriesAPictureOnceThatManyThingsShare) {
    for (int at = 0; at < 3; ++at) addImage(gifFile);
    EXPECT_EQ(write().pictures, 3U);
    EXPECT_EQ(countOf(page, gifAddress), 1U);
}

TEST_F(LibraryPageTest, LeavesALargePictureOutUnlessAllAreWanted) {
    addImage(squarePng(1, pageLimits::pictureBytes + 1));
    EXPECT_EQ(write().tooLargePictures, 1U);
    EXPECT_EQ(textOf(item("picture"), "lack"), "large");
    EXPECT_THAT(page, Not(HasSubstr("data:image/png")));
    const PageReport all = write(PictureChoice::all);
    EXPECT_EQ(all.pictures, 1U);
    EXPECT_EQ(all.tooLargePictures, 0U);
    EXPECT_THAT(page, HasSubstr("data:image/png"));
}

TEST_F(LibraryPageTest, LeavesASmallFileOfManyPixelsOut) {
    addImage(squarePng(7'000, 40));
    addImage(squarePng(8'000, 40));
    const PageReport report = write();
    EXPECT_EQ(report.pictures, 1U);
    EXPECT_EQ(report.tooLargePictures, 1U);
}

TEST_F(LibraryPageTest, LeavesAllPicturesOutWhenNoneAreWanted) {
    addImage(gifFile);
    const PageReport report = write(PictureChoice::none);
    EXPECT_EQ(report.pictures, 0U);
    EXPECT_EQ(report.unwantedPictures, 1U);
    EXPECT_THAT(page, Not(HasSubstr(gifAddress)));
}

TEST_F(LibraryPageTest, CarriesNoMoreThanAPageCanHold) {
    constexpr std::size_t fitting = pageLimits::allPictureBytes / pageLimits::pictureBytes;
    for (std::size_t at = 0; at < fitting + 2; ++at) {
        std::string bytes = squarePng(1, pageLimits::pictureBytes);
        bytes.replace(bytes.size() - 4, 4, std::to_string(1000 + at));
        addImage(bytes).updatedAt = static_cast<std::int64_t>(at);
        things.back().title = "picture " + std::to_string(at);
    }
    const PageReport report = write();
    EXPECT_EQ(report.pictures, fitting);
    EXPECT_EQ(report.tooLargePictures, 2U);
    // What was changed last comes first.
    EXPECT_NE(item("picture " + std::to_string(fitting + 1)).member("picture"), nullptr);
    EXPECT_EQ(textOf(item("picture 0"), "lack"), "large");
}

TEST_F(LibraryPageTest, ShowsNothingThatOnlyClaimsToBeAPicture) {
    ThingRecord& thing = addImage("<html><script>alert(1)</script>");
    thing.fileName = "photo.png";
    thing.typeIdentifier = "public.png";
    EXPECT_EQ(write().unshownPictures, 1U);
    EXPECT_EQ(textOf(item("picture"), "lack"), "unshown");
    EXPECT_EQ(countOf(page, "id=\"picture-"), 0U);
}

TEST_F(LibraryPageTest, IsWrittenWithoutAPictureThatHasGone) {
    addImage(gifFile);
    std::filesystem::remove(*things.back().data);
    EXPECT_EQ(write().unshownPictures, 1U);
}

TEST_F(LibraryPageTest, CarriesNoPictureThatChangedWhileItWasWritten) {
    addImage(gifFile);
    whenBegun = [&] { files.write("received/id0", "other bytes"); };
    write();
    EXPECT_THAT(page, HasSubstr("id=\"picture-0\"></script>"));
}

TEST_F(LibraryPageTest, CutsALongTextBetweenCharacters) {
    std::string text = "a";
    while (text.size() <= pageTextBytes) text += "é";
    add("note", "long").content = text;
    EXPECT_EQ(write().shortenedTexts, 1U);
    const std::string shown = textOf(item("long"), "content");
    EXPECT_EQ(shown.size(), pageTextBytes - 1);
    EXPECT_TRUE(isWellFormedUtf8(shown));
    EXPECT_EQ(item("long").member("cut")->text(), "true");
}

TEST_F(LibraryPageTest, NamesTheOriginalOfAConflictCopy) {
    add("note", "Plan").createdAt = 7;
    add("note", "Plan (iCloud conflict)").createdAt = 7;
    EXPECT_EQ(write().conflictCopies, 1U);
    const JsonValue whole = document();
    const JsonValue copy = item("Plan (iCloud conflict)");
    const auto original =
        static_cast<std::size_t>(copy.member("original")->number()->integer().value_or(-1));
    EXPECT_EQ(textOf(whole.member("items")->array()->at(original), "title"), "Plan");
}

struct PictureFile {
    const char* name;
    std::string bytes;
    std::string mediaType;
};

const PictureFile pictureFiles[] = {
    {"Png", squarePng(1, 40), "image/png"},
    {"Jpeg", "\xFF\xD8\xFF\xE0", "image/jpeg"},
    {"Gif", "GIF87a", "image/gif"},
    {"WebP", "RIFF\1\2\3\4WEBPVP8L", "image/webp"},
    {"Avif", std::string("\0\0\0\x1C", 4) + "ftypavif", "image/avif"},
    {"Bmp", "BM123", "image/bmp"},
    {"Svg", "\xEF\xBB\xBF <?xml version='1.0'?><!-- a --><svg/>", "image/svg+xml"},
    {"Html", "<!doctype html><p>text", ""},
    {"Text", "PNG", ""},
    {"Empty", "", ""},
    {"CutOff", "\x89PNG", ""},
    {"Tiff", "II*", ""},
};

class PictureMediaType : public testing::TestWithParam<PictureFile> {};

TEST_P(PictureMediaType, IsToldByTheBytes) {
    EXPECT_EQ(pictureMediaType(GetParam().bytes).value_or(""), GetParam().mediaType);
}

INSTANTIATE_TEST_SUITE_P(Files,
                         PictureMediaType,
                         testing::ValuesIn(pictureFiles),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace kelto::ctl
