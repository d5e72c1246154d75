#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/ContentTypeTable.hpp"

namespace kelto {
namespace {

std::string identifierOfExtension(std::string_view extension) {
    const std::optional<ContentType> type = ContentType::fromFileExtension(extension);
    return type ? type->identifier() : "none";
}

std::string extensionOfIdentifier(std::string_view identifier) {
    return std::string(
        ContentType::fromIdentifier(identifier).value().preferredFileExtension().value_or("none"));
}

bool conforms(std::string_view identifier, std::string_view ancestor) {
    return ContentType::fromIdentifier(identifier).value().conformsTo(ancestor);
}

struct ExtensionCase {
    std::string_view extension;
    std::string_view identifier;
    std::string_view preferred;
};

void PrintTo(const ExtensionCase& extensionCase, std::ostream* out) {
    *out << extensionCase.extension;
}

class ContentTypeOfExtension : public testing::TestWithParam<ExtensionCase> {};

TEST_P(ContentTypeOfExtension, IsThePublicTypeWithItsPreferredExtension) {
    EXPECT_EQ(identifierOfExtension(GetParam().extension), GetParam().identifier);
    EXPECT_EQ(extensionOfIdentifier(GetParam().identifier), GetParam().preferred);
}

constexpr ExtensionCase extensionCases[] = {
    {"jpeg", "public.jpeg", "jpeg"},
    {"jpg", "public.jpeg", "jpeg"},
    {"jpe", "public.jpeg", "jpeg"},
    {"png", "public.png", "png"},
    {"gif", "com.compuserve.gif", "gif"},
    {"tif", "public.tiff", "tiff"},
    {"heic", "public.heic", "heic"},
    {"heif", "public.heif", "heif"},
    {"webp", "org.webmproject.webp", "webp"},
    {"bmp", "com.microsoft.bmp", "bmp"},
    {"ico", "com.microsoft.ico", "ico"},
    {"svg", "public.svg-image", "svg"},
    {"avif", "public.avif", "avif"},
    {"dng", "com.adobe.raw-image", "dng"},
    {"cr2", "com.canon.cr2-raw-image", "cr2"},
    {"psd", "com.adobe.photoshop-image", "psd"},
    {"icns", "com.apple.icns", "icns"},
    {"mov", "com.apple.quicktime-movie", "mov"},
    {"mp4", "public.mpeg-4", "mp4"},
    {"m4v", "com.apple.m4v-video", "m4v"},
    {"mpeg", "public.mpeg", "mpg"},
    {"avi", "public.avi", "avi"},
    {"webm", "org.webmproject.webm", "webm"},
    {"mkv", "org.matroska.mkv", "mkv"},
    {"3gp", "public.3gpp", "3gp"},
    {"mp3", "public.mp3", "mp3"},
    {"m4a", "com.apple.m4a-audio", "m4a"},
    {"wav", "com.microsoft.waveform-audio", "wav"},
    {"aif", "public.aiff-audio", "aiff"},
    {"flac", "org.xiph.flac", "flac"},
    {"ogg", "org.xiph.ogg-audio", "ogg"},
    {"txt", "public.plain-text", "txt"},
    {"htm", "public.html", "html"},
    {"rtf", "public.rtf", "rtf"},
    {"xml", "public.xml", "xml"},
    {"json", "public.json", "json"},
    {"yaml", "public.yaml", "yml"},
    {"markdown", "net.daringfireball.markdown", "md"},
    {"swift", "public.swift-source", "swift"},
    {"cc", "public.c-plus-plus-source", "cpp"},
    {"py", "public.python-script", "py"},
    {"sh", "public.shell-script", "sh"},
    {"pdf", "com.adobe.pdf", "pdf"},
    {"epub", "org.idpf.epub-container", "epub"},
    {"doc", "com.microsoft.word.doc", "doc"},
    {"docx", "org.openxmlformats.wordprocessingml.document", "docx"},
    {"xls", "com.microsoft.excel.xls", "xls"},
    {"xlsx", "org.openxmlformats.spreadsheetml.sheet", "xlsx"},
    {"ppt", "com.microsoft.powerpoint.ppt", "ppt"},
    {"pptx", "org.openxmlformats.presentationml.presentation", "pptx"},
    {"odt", "org.oasis-open.opendocument.text", "odt"},
    {"ods", "org.oasis-open.opendocument.spreadsheet", "ods"},
    {"odp", "org.oasis-open.opendocument.presentation", "odp"},
    {"pages", "com.apple.iwork.pages.pages", "pages"},
    {"numbers", "com.apple.iwork.numbers.numbers", "numbers"},
    {"key", "com.apple.iwork.keynote.key", "key"},
    {"zip", "public.zip-archive", "zip"},
    {"gz", "org.gnu.gnu-zip-archive", "gz"},
    {"tar", "public.tar-archive", "tar"},
    {"bz2", "public.bzip2-archive", "bz2"},
    {"7z", "org.7-zip.7-zip-archive", "7z"},
    {"rar", "com.rarlab.rar-archive", "rar"},
    {"dmg", "com.apple.disk-image-udif", "dmg"},
    {"ttf", "public.truetype-ttf-font", "ttf"},
    {"otf", "public.opentype-font", "otf"},
    {"ics", "com.apple.ical.ics", "ics"},
    {"vcf", "public.vcard", "vcf"},
    {"webloc", "com.apple.web-internet-location", "webloc"},
    {"url", "com.microsoft.internet-shortcut", "url"},
    {"app", "com.apple.application-bundle", "app"},
    {"exe", "com.microsoft.windows-executable", "exe"},
};

INSTANTIATE_TEST_SUITE_P(ContentType,
                         ContentTypeOfExtension,
                         testing::ValuesIn(extensionCases),
                         [](const auto& tested) { return std::string(tested.param.extension); });

struct ConformanceCase {
    std::string_view name;
    std::string_view identifier;
    std::string_view ancestor;
    bool expected;
};

void PrintTo(const ConformanceCase& conformanceCase, std::ostream* out) {
    *out << conformanceCase.identifier << " to " << conformanceCase.ancestor;
}

class ContentTypeConformance : public testing::TestWithParam<ConformanceCase> {};

TEST_P(ContentTypeConformance, FollowsThePublicHierarchy) {
    EXPECT_EQ(conforms(GetParam().identifier, GetParam().ancestor), GetParam().expected);
}

constexpr ConformanceCase conformanceCases[] = {
    {"ToItself", "public.jpeg", "public.jpeg", true},
    {"ToItsParent", "public.jpeg", ContentType::image, true},
    {"ToTheEnd", "public.jpeg", "public.item", true},
    {"ToItsSecondParent", "public.jpeg", "public.content", true},
    {"NotToItsChild", "public.image", "public.jpeg", false},
    {"RawImageIsAnImage", "com.canon.cr2-raw-image", ContentType::image, true},
    {"QuickTimeIsAMovie", "com.apple.quicktime-movie", ContentType::movie, true},
    {"MovieIsAudiovisual", "public.movie", ContentType::audiovisualContent, true},
    {"VideoIsAMovie", "public.video", ContentType::movie, true},
    {"MovieIsNoImage", "public.movie", ContentType::image, false},
    {"AudioIsAudiovisual", "public.audio", ContentType::audiovisualContent, true},
    {"AudioIsNoMovie", "public.mp3", ContentType::movie, false},
    {"PlaylistIsNotAudiovisual", "public.m3u-playlist", ContentType::audiovisualContent, false},
    {"PdfIsNoImage", "com.adobe.pdf", ContentType::image, false},
    {"PdfIsCompositeContent", "com.adobe.pdf", "public.composite-content", true},
    {"SvgIsAnImage", "public.svg-image", ContentType::image, true},
    {"ScriptIsSourceCode", "public.python-script", "public.source-code", true},
    {"SourceCodeIsPlainText", "public.source-code", "public.plain-text", true},
    {"FolderIsADirectory", "public.folder", "public.directory", true},
    {"ApplicationIsExecutable", "com.apple.application-bundle", "public.executable", true},
    {"UnknownToItself", "com.example.tune", "com.example.tune", true},
    {"UnknownToNothingElse", "com.example.tune", "public.item", false},
    {"LetterCaseOfTheType", "PUBLIC.Jpeg", ContentType::image, true},
    {"LetterCaseOfTheAncestor", "public.jpeg", "Public.IMAGE", true},
    {"EmptyAncestor", "public.jpeg", "", false},
};

INSTANTIATE_TEST_SUITE_P(ContentType,
                         ContentTypeConformance,
                         testing::ValuesIn(conformanceCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(ContentType, IsNoneForAnEmptyIdentifier) {
    EXPECT_EQ(ContentType::fromIdentifier(""), std::nullopt);
}

TEST(ContentType, IsNoneForAnEmptyOrUnknownExtension) {
    EXPECT_EQ(ContentType::fromFileExtension(""), std::nullopt);
    EXPECT_EQ(ContentType::fromFileExtension("nosuchextension"), std::nullopt);
    EXPECT_EQ(ContentType::fromFileExtension(".png"), std::nullopt);
    EXPECT_EQ(ContentType::fromFileExtension("jpeg jpg"), std::nullopt);
}

TEST(ContentType, IsFoundByExtensionInAnyLetterCase) {
    EXPECT_EQ(identifierOfExtension("JPG"), "public.jpeg");
}

TEST(ContentType, IsTheSameInAnyLetterCase) {
    EXPECT_EQ(ContentType::fromIdentifier("COM.Example.Tune"),
              ContentType::fromIdentifier("com.example.tune"));
}

TEST(ContentType, HasNoExtensionWhenAbstractOrUnknown) {
    EXPECT_EQ(extensionOfIdentifier("public.image"), "none");
    EXPECT_EQ(extensionOfIdentifier("com.example.tune"), "none");
}

TEST(ContentType, TakesHostileIdentifiersAsUnknown) {
    for (const std::string& hostile : {std::string("public.jpeg\0", 12),
                                       std::string("\xFF\xC0\x80"),
                                       std::string(5'000'000, 'a'),
                                       std::string(" ")}) {
        EXPECT_FALSE(conforms(hostile, ContentType::image));
        EXPECT_EQ(extensionOfIdentifier(hostile), "none");
        EXPECT_EQ(ContentType::fromFileExtension(hostile), std::nullopt);
    }
}

TEST(ContentTypeTable, NamesEveryTypeOnce) {
    std::set<std::string_view> seen;
    for (const KnownContentType& known : knownContentTypes) {
        EXPECT_TRUE(seen.insert(known.identifier).second) << known.identifier;
    }
}

TEST(ContentTypeTable, ListsEveryParentAndNoCycle) {
    // A type always stands behind its ancestors on some path of finite length: walking up from it
    // must never come back.
    std::map<std::string, std::set<std::string>> parentsOf;
    for (const KnownContentType& known : knownContentTypes) {
        std::istringstream words{std::string(known.conformsTo)};
        std::set<std::string>& parents = parentsOf[std::string(known.identifier)];
        for (std::string word; words >> word;) parents.insert(word);
    }
    for (const auto& [identifier, parents] : parentsOf) {
        std::set<std::string> reached = parents;
        for (std::size_t before = 0; before != reached.size();) {
            before = reached.size();
            for (const std::string& ancestor : std::set<std::string>(reached)) {
                ASSERT_TRUE(parentsOf.contains(ancestor)) << ancestor << " of " << identifier;
                reached.insert(parentsOf[ancestor].begin(), parentsOf[ancestor].end());
            }
        }
        EXPECT_FALSE(reached.contains(identifier)) << identifier;
    }
}

TEST(ContentTypeTable, GivesAnExtensionToOneTypeOnly) {
    std::map<std::string, std::string_view> owner;
    for (const KnownContentType& known : knownContentTypes) {
        std::istringstream words{std::string(known.extensions)};
        for (std::string word; words >> word;) {
            const auto [found, isNew] = owner.emplace(word, known.identifier);
            EXPECT_TRUE(isNew) << word << ": " << found->second << ", " << known.identifier;
        }
    }
}

TEST(ContentTypeTable, FindsEveryPreferredExtensionAgain) {
    for (const KnownContentType& known : knownContentTypes) {
        const auto type = ContentType::fromIdentifier(known.identifier);
        const auto extension = type->preferredFileExtension();
        if (extension) {
            EXPECT_EQ(ContentType::fromFileExtension(*extension), type);
        }
    }
}

}  // namespace
}  // namespace kelto
