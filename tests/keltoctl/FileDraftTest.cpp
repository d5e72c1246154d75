#include <gtest/gtest.h>

#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/FileDraft.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {
namespace {

class FileDraftOf : public testing::Test {
protected:
    [[nodiscard]] FileDraft draft(const std::string& name, std::string_view text) const {
        return draftOfFile(name, folder_.write(name, text));
    }

private:
    TemporaryFolder folder_;
};

TEST_F(FileDraftOf, ANoteHoldsItsTextAndNoFile) {
    const FileDraft note = draft("Groceries.NOTE.md",
                                 "\xEF\xBB\xBF"
                                 "bread\n");
    EXPECT_EQ(note.kind, ThingKind::note);
    EXPECT_EQ(note.title, "Groceries");
    EXPECT_EQ(note.content, "bread\n");
    EXPECT_FALSE(note.isPayload);
}

TEST_F(FileDraftOf, ANoteInAForeignEncodingIsRepaired) {
    EXPECT_EQ(draft("a.note.txt", "caf\xE9").content, "caf\uFFFD");
}

TEST_F(FileDraftOf, AVeryLargeNoteIsADocument) {
    EXPECT_EQ(draft("a.note.txt", std::string(5'000'000, 'x')).kind, ThingKind::document);
}

TEST_F(FileDraftOf, AQuoteTakesItsAuthorFromTheLastLine) {
    const FileDraft quote = draft("Rain.quote.txt", "one\ntwo\n— A gardener\n\n");
    EXPECT_EQ(quote.kind, ThingKind::quote);
    EXPECT_EQ(quote.content, "one\ntwo");
    EXPECT_EQ(JsonValue(quote.metadata).text(), R"({"author":"A gardener"})");
}

TEST_F(FileDraftOf, AQuoteWithoutAuthorKeepsItsLastLine) {
    const FileDraft quote = draft("Rain.quote.txt", "— \n");
    EXPECT_EQ(quote.content, "— ");
    EXPECT_TRUE(quote.metadata.empty());
}

TEST_F(FileDraftOf, AnAddressIsClassified) {
    const auto shortcut = [&](std::string_view url) {
        return draft("a.url", "[InternetShortcut]\nURL=" + std::string(url) + "\n");
    };
    EXPECT_EQ(shortcut("https://www.example.org/a").kind, ThingKind::link);
    EXPECT_EQ(shortcut("https://x.com/example/status/20").kind, ThingKind::tweet);
    EXPECT_EQ(shortcut("https://github.com/octocat/Hello-World").kind, ThingKind::github);
    EXPECT_EQ(JsonValue(shortcut("https://www.Example.org/a").metadata).text(),
              R"({"siteName":"example.org"})");
}

TEST_F(FileDraftOf, ALinkFileWithoutAnAddressIsADocument) {
    const FileDraft document = draft("broken.webloc", "no property list");
    EXPECT_EQ(document.kind, ThingKind::document);
    EXPECT_EQ(document.title, "broken");
    EXPECT_TRUE(document.isPayload);
    EXPECT_EQ(draft("b.url", "[InternetShortcut]\nURL=not an address\n").kind, ThingKind::document);
}

TEST_F(FileDraftOf, AProgramStarterIsADocument) {
    EXPECT_EQ(draft("editor.desktop", "[Desktop Entry]\nType=Application\n").kind,
              ThingKind::document);
}

TEST_F(FileDraftOf, APictureHasItsSizeAndRatio) {
    const FileDraft picture =
        draftOfFile("Harbour at dusk.png", KELTO_SAMPLES "/Harbour at dusk.png");
    EXPECT_EQ(picture.kind, ThingKind::image);
    EXPECT_EQ(picture.typeIdentifier, "public.png");
    EXPECT_DOUBLE_EQ(picture.aspectRatio, 1.6);
    EXPECT_EQ(JsonValue(picture.metadata).text(), R"({"width":640,"height":400})");
}

TEST_F(FileDraftOf, APictureThatCannotBeMeasuredHasTheUsualRatio) {
    const FileDraft picture = draft("broken.jpg", "no picture");
    EXPECT_EQ(picture.kind, ThingKind::image);
    EXPECT_DOUBLE_EQ(picture.aspectRatio, 1.0);
    EXPECT_TRUE(picture.metadata.empty());
}

TEST_F(FileDraftOf, AFilmIsAVideo) {
    EXPECT_EQ(draft("a.mp4", "").kind, ThingKind::video);
    EXPECT_DOUBLE_EQ(draft("a.mp4", "").aspectRatio, 16.0 / 9);
}

TEST_F(FileDraftOf, AFileOfUnknownTypeIsADocument) {
    const FileDraft document = draft("Checklist", "x");
    EXPECT_EQ(document.kind, ThingKind::document);
    EXPECT_EQ(document.typeIdentifier, "public.data");
    EXPECT_EQ(document.title, "Checklist");
}

TEST_F(FileDraftOf, SeveralDotsEndOnlyTheLastExtension) {
    EXPECT_EQ(draft("Hills 2024.spring.walk.jpg", "").title, "Hills 2024.spring.walk");
}

TEST(FileDraft, RefusesATextThatIsNoAddress) {
    EXPECT_THROW((void)draftOfAddress("example"), Refusal);
    EXPECT_THROW((void)draftOfAddress(""), Refusal);
}

TEST(FileDraft, AddsFactsWithoutLosingWhatTheMetadataSays) {
    EXPECT_EQ(mergedMetadata(R"({"linkedRelativePath":"a\/b","width":1})", {{"width", 2}}),
              R"({"linkedRelativePath":"a\/b","width":2})");
    EXPECT_EQ(mergedMetadata("broken", {{"width", 2}}), R"({"width":2})");
    EXPECT_EQ(mergedMetadata("", {}), "");
}

}  // namespace
}  // namespace kelto::ctl
