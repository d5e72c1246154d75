#include <cstddef>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "kelto/model/ThingKind.hpp"

namespace kelto {
namespace {

struct KnownKind {
    ThingKind kind;
    std::string_view rawValue;
    std::string_view title;
    std::string_view pluralTitle;
    std::string_view systemImage;
    double aspectRatio;
    bool fileBacked;
    bool linkBacked;
};

constexpr KnownKind knownKinds[] = {
    {ThingKind::image, "image", "Image", "Images", "photo", 1.0, true, false},
    {ThingKind::video,
     "video",
     "Video",
     "Videos",
     "play.rectangle",
     1.7777777777777777,
     true,
     false},
    {ThingKind::link, "link", "Link", "Links", "link", 1.6, false, true},
    {ThingKind::tweet, "tweet", "Tweet", "Tweets", "text.bubble", 1.6, false, true},
    {ThingKind::github,
     "github",
     "Repository",
     "Repositories",
     "chevron.left.forwardslash.chevron.right",
     1.6,
     false,
     true},
    {ThingKind::quote, "quote", "Quote", "Quotes", "quote.opening", 1.0, false, false},
    {ThingKind::document, "document", "Document", "Documents", "doc", 0.77, true, false},
    {ThingKind::note, "note", "Note", "Notes", "note.text", 1.0, false, false},
};

void PrintTo(const KnownKind& known, std::ostream* out) {
    *out << known.rawValue;
}

class EveryThingKind : public testing::TestWithParam<KnownKind> {};

TEST_P(EveryThingKind, HasItsTextsAndProperties) {
    const KnownKind& known = GetParam();
    EXPECT_EQ(rawValue(known.kind), known.rawValue);
    EXPECT_EQ(title(known.kind), known.title);
    EXPECT_EQ(pluralTitle(known.kind), known.pluralTitle);
    EXPECT_EQ(systemImage(known.kind), known.systemImage);
    EXPECT_EQ(defaultAspectRatio(known.kind), known.aspectRatio);
    EXPECT_EQ(isFileBacked(known.kind), known.fileBacked);
    EXPECT_EQ(isLinkBacked(known.kind), known.linkBacked);
}

TEST_P(EveryThingKind, IsFoundByItsRawValue) {
    EXPECT_EQ(thingKind(GetParam().rawValue), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Kinds,
                         EveryThingKind,
                         testing::ValuesIn(knownKinds),
                         [](const auto& tested) { return std::string(tested.param.rawValue); });

TEST(ThingKind, AreListedInTheOrderInWhichTheyAreShown) {
    ASSERT_EQ(allThingKinds.size(), std::size(knownKinds));
    for (std::size_t i = 0; i < allThingKinds.size(); ++i) {
        EXPECT_EQ(allThingKinds[i], knownKinds[i].kind);
    }
}

TEST(ThingKind, IsNoneForARawValueInAnotherLetterCase) {
    EXPECT_EQ(thingKind("Image"), std::nullopt);
}

TEST(ThingKind, IsNoneForAnythingElse) {
    using namespace std::string_view_literals;
    for (const auto text : {""sv, " note"sv, "note\0"sv, "notes"sv, "Repository"sv, "\xff"sv}) {
        EXPECT_EQ(thingKind(text), std::nullopt) << testing::PrintToString(text);
    }
}

struct AddressCase {
    std::string_view name;
    std::string_view address;
    ThingKind kind;
};

void PrintTo(const AddressCase& tested, std::ostream* out) {
    *out << tested.address;
}

constexpr AddressCase addresses[] = {
    {"File", "file:///home/me/picture.png", ThingKind::link},
    {"Relative", "twitter.com/somebody/status/1", ThingKind::link},
    {"OrdinarySite", "https://example.org/a/status/b", ThingKind::link},

    {"Post", "https://twitter.com/somebody/status/1234", ThingKind::tweet},
    {"PostOnTheShortHost", "https://x.com/somebody/status/1234", ThingKind::tweet},
    {"PostOnTheMobileHost", "https://mobile.twitter.com/somebody/status/1", ThingKind::tweet},
    {"PostWithLabel", "https://WWW.Twitter.COM/somebody/status/1234", ThingKind::tweet},
    {"PostWithLabelInTheMiddle", "https://mobile.www.twitter.com/a/status/1", ThingKind::tweet},
    {"PostWithLabelTwice", "https://www.www.x.com/a/status/1", ThingKind::tweet},
    {"LabelInsideAName", "https://twitwww.ter.com/a/status/1", ThingKind::tweet},
    {"PostWithPort", "https://x.com:8080/somebody/status/1", ThingKind::tweet},
    {"StatusAnywhere", "https://x.com/status", ThingKind::tweet},
    {"StatusEncoded", "https://x.com/a/%73tatus/1", ThingKind::tweet},
    {"UserAlone", "https://twitter.com/somebody", ThingKind::link},
    {"StatusCapitalised", "https://twitter.com/somebody/Status/1234", ThingKind::link},
    {"StatusInTheQuery", "https://twitter.com/somebody?status", ThingKind::link},
    {"StatusPartOfAWord", "https://twitter.com/somebody/statuses/1", ThingKind::link},
    {"OtherSubdomain", "https://api.twitter.com/somebody/status/1", ThingKind::link},
    {"HostThatEndsLikeIt", "https://netflix.com/somebody/status/1", ThingKind::link},

    {"Repository", "https://github.com/owner/repository", ThingKind::github},
    {"RepositoryPage", "https://github.com/owner/repository/issues/1", ThingKind::github},
    {"RepositoryWithSlash", "https://github.com/owner/repository/", ThingKind::github},
    {"RepositoryWithLabel", "https://wWw.GitHub.com/owner/repository", ThingKind::github},
    {"RepositoryOfStatus", "https://github.com/owner/status", ThingKind::github},
    {"OwnerAlone", "https://github.com/owner", ThingKind::link},
    {"OwnerWithLabel", "https://WWW.github.com/owner", ThingKind::link},
    {"OwnerAndEmptyName", "https://github.com/owner//", ThingKind::link},
    {"OwnerAndEncodedSlash", "https://github.com/owner/%2F", ThingKind::link},
    {"CodeHostAlone", "https://github.com", ThingKind::link},
    {"CodeHostRoot", "https://github.com/", ThingKind::link},
    {"CodeHostSubdomain", "https://gist.github.com/owner/repository", ThingKind::link},
};

class ClassifiedAddress : public testing::TestWithParam<AddressCase> {};

TEST_P(ClassifiedAddress, HasItsKind) {
    const auto url = Url::parse(GetParam().address);
    ASSERT_TRUE(url);
    EXPECT_EQ(classify(*url), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Addresses,
                         ClassifiedAddress,
                         testing::ValuesIn(addresses),
                         [](const auto& tested) { return std::string(tested.param.name); });

struct TypeCase {
    std::string_view name;
    std::string_view identifier;
    ThingKind kind;
};

void PrintTo(const TypeCase& tested, std::ostream* out) {
    *out << tested.identifier;
}

constexpr TypeCase types[] = {
    {"Image", "public.image", ThingKind::image},
    {"Jpeg", "public.jpeg", ThingKind::image},
    {"Png", "public.png", ThingKind::image},
    {"Movie", "public.movie", ThingKind::video},
    {"Video", "public.video", ThingKind::video},
    {"AudiovisualContent", "public.audiovisual-content", ThingKind::video},
    {"Mpeg4", "public.mpeg-4", ThingKind::video},
    {"QuickTime", "com.apple.quicktime-movie", ThingKind::video},
    // Sound alone is audiovisual content too, by the public declaration of its type.
    {"Sound", "public.mp3", ThingKind::video},
    {"SoundOfAnUnknownType", "org.example.sound", ThingKind::document},
    {"Pdf", "com.adobe.pdf", ThingKind::document},
    {"PlainText", "public.plain-text", ThingKind::document},
    {"Folder", "public.folder", ThingKind::document},
    {"Unknown", "org.example.of-our-own", ThingKind::document},
};

class ClassifiedType : public testing::TestWithParam<TypeCase> {};

TEST_P(ClassifiedType, HasItsKind) {
    const auto type = ContentType::fromIdentifier(GetParam().identifier);
    ASSERT_TRUE(type);
    EXPECT_EQ(classify(*type), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Types, ClassifiedType, testing::ValuesIn(types), [](const auto& tested) {
    return std::string(tested.param.name);
});

}  // namespace
}  // namespace kelto
