#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

ErrorDictionary information(const std::vector<std::pair<std::string_view, ErrorValue>>& entries) {
    ErrorDictionary dictionary;
    for (const auto& [key, value] : entries) dictionary.entries.emplace_back(key, value);
    return dictionary;
}

std::string textUnder(const PlatformError& error, std::string_view key) {
    const ErrorValue* value = error.object()->userInfo.find(key);
    const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(value);
    return text == nullptr ? "(none)" : *text;
}

// --- The sentence
// ---------------------------------------------------------------------------------

TEST(PlatformError, SaysItsDescriptionAsItStands) {
    const PlatformError error = PlatformError::described("Any", 1, "It is broken");
    EXPECT_EQ(error.localizedDescription(), "It is broken");
    EXPECT_EQ(error.domain(), "Any");
    EXPECT_EQ(error.code(), 1);
}

TEST(PlatformError, SaysAnEmptyDescriptionToo) {
    EXPECT_EQ(PlatformError::described("Any", 1, "").localizedDescription(), "");
}

TEST(PlatformError, PrefersTheDescriptionToFailureAndReason) {
    const PlatformError error("Any",
                              1,
                              information({{errorKey::localizedFailureReason, "Reason."},
                                           {errorKey::localizedFailure, "Failure."},
                                           {errorKey::localizedDescription, "Description."}}));
    EXPECT_EQ(error.localizedDescription(), "Description.");
}

TEST(PlatformError, JoinsFailureAndReason) {
    const PlatformError error("Any",
                              1,
                              information({{errorKey::localizedFailureReason, "The disk is gone."},
                                           {errorKey::localizedFailure, "Saving failed."}}));
    EXPECT_EQ(error.localizedDescription(), "Saving failed. The disk is gone.");
}

TEST(PlatformError, SaysAFailureAlone) {
    const PlatformError error(
        "Any", 1, information({{errorKey::localizedFailure, "Saving failed."}}));
    EXPECT_EQ(error.localizedDescription(), "Saving failed.");
}

TEST(PlatformError, PutsAReasonAfterTheGeneralSentence) {
    const PlatformError error(
        "Any", 1, information({{errorKey::localizedFailureReason, "The disk is gone."}}));
    EXPECT_EQ(error.localizedDescription(),
              "The operation couldn’t be completed. The disk is gone.");
}

TEST(PlatformError, NamesDomainAndCodeWhenNothingElseIsKnown) {
    EXPECT_EQ(PlatformError(errorDomain::cloudKit, 9).localizedDescription(),
              "The operation couldn’t be completed. (CKErrorDomain error 9.)");
    EXPECT_EQ(PlatformError(errorDomain::sqlite, -1).localizedDescription(),
              "The operation couldn’t be completed. (NSSQLiteErrorDomain error -1.)");
}

TEST(PlatformError, CallsTheOldDomainsByTheirShortNames) {
    EXPECT_EQ(PlatformError(errorDomain::cocoa, 256).localizedDescription(),
              "The operation couldn’t be completed. (Cocoa error 256.)");
    EXPECT_EQ(PlatformError(errorDomain::posix, 99999).localizedDescription(),
              "The operation couldn’t be completed. (POSIX error 99999.)");
    EXPECT_EQ(PlatformError(errorDomain::posix, std::int64_t{1} << 40).localizedDescription(),
              "The operation couldn’t be completed. (POSIX error 1099511627776.)");
}

TEST(PlatformError, SaysTheSystemsReasonForAPosixError) {
    EXPECT_EQ(PlatformError(errorDomain::posix, ENOENT).localizedDescription(),
              "The operation couldn’t be completed. No such file or directory");
}

TEST(PlatformError, JoinsAFailureAndTheSystemsReason) {
    const PlatformError error(
        errorDomain::posix, ENOENT, information({{errorKey::localizedFailure, "Saving failed."}}));
    EXPECT_EQ(error.localizedDescription(), "Saving failed. No such file or directory");
}

TEST(PlatformError, PassesOverADescriptionThatIsNoText) {
    const PlatformError error(
        "Any",
        1,
        information({{errorKey::localizedDescription, std::monostate()},
                     {errorKey::localizedFailure, ErrorDictionary()},
                     {errorKey::localizedFailureReason, "The disk is gone."}}));
    EXPECT_EQ(error.localizedDescription(),
              "The operation couldn’t be completed. The disk is gone.");
}

TEST(PlatformError, SaysItsDescriptionAsAnException) {
    try {
        throw PlatformError::described("Any", 1, "It is broken");
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "It is broken");
    }
}

// --- Identity and user information
// ------------------------------------------------------------------

TEST(PlatformError, SharesItsObjectWithItsCopies) {
    const PlatformError error("Any", 1);
    const PlatformError copy = error;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.object(), error.object());
    EXPECT_EQ(PlatformError(error.object()).object(), error.object());
    EXPECT_NE(PlatformError("Any", 1).object(), error.object());
}

TEST(PlatformErrorDeathTest, CannotBeMadeWithoutAnObject) {
    EXPECT_DEATH({ const PlatformError error{ErrorRef()}; },
                 "Fatal error: An error without its object");
}

TEST(ErrorDictionary, FindsTheFirstEntryOfAKey) {
    const ErrorDictionary dictionary({{"a", "1"}, {"b", "2"}, {"a", "3"}});
    ASSERT_NE(dictionary.find("a"), nullptr);
    EXPECT_EQ(std::get<std::string>(*dictionary.find("a")), "1");
    EXPECT_EQ(dictionary.find("c"), nullptr);
}

TEST(ErrorDictionary, HoldsNothingForANullError) {
    const ErrorDictionary dictionary({{"error", ErrorRef()}});
    ASSERT_NE(dictionary.find("error"), nullptr);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*dictionary.find("error")));
}

// --- Files
// ------------------------------------------------------------------------------------------

struct FileFailure {
    const char* name;
    PlatformError (*make)(std::string_view path, int errorNumber);
    const char* path;
    int errorNumber;
    std::int64_t code;
    const char* sentence;
};

void PrintTo(const FileFailure& failure, std::ostream* out) {
    *out << "errno " << failure.errorNumber << " at " << failure.path;
}

class FileFailures : public testing::TestWithParam<FileFailure> {};

TEST_P(FileFailures, NameTheFileAndTheCause) {
    const FileFailure& failure = GetParam();
    const PlatformError error = failure.make(failure.path, failure.errorNumber);
    EXPECT_EQ(error.domain(), errorDomain::cocoa);
    EXPECT_EQ(error.code(), failure.code);
    EXPECT_EQ(error.localizedDescription(), failure.sentence);
    EXPECT_EQ(textUnder(error, errorKey::localizedDescription), failure.sentence);
    EXPECT_EQ(textUnder(error, errorKey::filePath), failure.path);
}

TEST_P(FileFailures, AreLeavesThatTellTheSystemsReasonBeside) {
    const PlatformError error = GetParam().make(GetParam().path, GetParam().errorNumber);
    EXPECT_EQ(error.object()->userInfo.find(errorKey::underlyingError), nullptr);
    const char* reason = strerrordesc_np(GetParam().errorNumber);
    EXPECT_EQ(textUnder(error, errorKey::debugDescription), reason == nullptr ? "" : reason);
}

constexpr auto read = PlatformError::fileRead;
constexpr auto write = PlatformError::fileWrite;

constexpr FileFailure readFailures[] = {
    {"Missing",
     read,
     "/y/x",
     ENOENT,
     260,
     "The file “x” couldn’t be opened because there is no such file."},
    {"NoAccess",
     read,
     "/y/x",
     EACCES,
     257,
     "The file “x” couldn’t be opened because you don’t have permission to view it."},
    {"NotPermitted",
     read,
     "/y/x",
     EPERM,
     257,
     "The file “x” couldn’t be opened because you don’t have permission to view it."},
    {"NameTooLong",
     read,
     "/y/x",
     ENAMETOOLONG,
     258,
     "The file “x” couldn’t be opened because the file name is invalid."},
    {"Folder", read, "/y/x", EISDIR, 256, "The file “x” couldn’t be opened (Is a directory)."},
    {"Device", read, "/y/x", EIO, 256, "The file “x” couldn’t be opened (Input/output error)."},
    {"UnknownNumber", read, "/y/x", 9999, 256, "The file “x” couldn’t be opened (error 9999)."},
    {"RelativeName",
     read,
     "x",
     ENOENT,
     260,
     "The file “x” couldn’t be opened because there is no such file."},
    {"SlashAtTheEnd",
     read,
     "/y/x//",
     ENOENT,
     260,
     "The file “x” couldn’t be opened because there is no such file."},
    {"Root", read, "/", EISDIR, 256, "The file “/” couldn’t be opened (Is a directory)."},
    {"NoPath", read, "", ENOENT, 260, "The file couldn’t be opened because there is no such file."},
    {"ControlCharacters",
     read,
     "/y/a\nb\x1B[1m\x7F\xC2\x85z",
     ENOENT,
     260,
     "The file “a?b?[1m??z” couldn’t be opened because there is no such file."},
    {"IllFormedBytes",
     read,
     "/y/a\xFFz",
     ENOENT,
     260,
     "The file “a\xEF\xBF\xBDz” couldn’t be opened because there is no such file."},
    {"OtherScripts",
     read,
     "/y/Übergröße 日本語.txt",
     ENOENT,
     260,
     "The file “Übergröße 日本語.txt” couldn’t be opened because there is no such file."},
};

constexpr FileFailure writeFailures[] = {
    {"Missing", write, "/z/y/x", ENOENT, 4, "The file “x” doesn’t exist."},
    {"NoAccess",
     write,
     "/z/y/x",
     EACCES,
     513,
     "You don’t have permission to save the file “x” in the folder “y”."},
    {"NotPermitted",
     write,
     "/z/y/x",
     EPERM,
     513,
     "You don’t have permission to save the file “x” in the folder “y”."},
    {"NameTooLong",
     write,
     "/z/y/x",
     ENAMETOOLONG,
     514,
     "The file “x” couldn’t be saved in the folder “y” because the file name is invalid."},
    {"Exists",
     write,
     "/z/y/x",
     EEXIST,
     516,
     "The file “x” couldn’t be saved in the folder “y” because a file with the same name already "
     "exists."},
    {"DiskFull",
     write,
     "/z/y/x",
     ENOSPC,
     640,
     "The file “x” couldn’t be saved in the folder “y” because there isn’t enough space."},
    {"QuotaUsedUp",
     write,
     "/z/y/x",
     EDQUOT,
     640,
     "The file “x” couldn’t be saved in the folder “y” because there isn’t enough space."},
    {"ReadOnlyVolume",
     write,
     "/z/y/x",
     EROFS,
     642,
     "The file “x” couldn’t be saved in the folder “y” because the volume is read only."},
    {"Folder",
     write,
     "/z/y/x",
     EISDIR,
     512,
     "The file “x” couldn’t be saved in the folder “y” (Is a directory)."},
    {"RelativeName", write, "x", EACCES, 513, "You don’t have permission to save the file “x”."},
    {"InTheRoot",
     write,
     "/x",
     EACCES,
     513,
     "You don’t have permission to save the file “x” in the folder “/”."},
    {"DoubledSlashes",
     write,
     "/z/y//x/",
     EACCES,
     513,
     "You don’t have permission to save the file “x” in the folder “y”."},
    {"Root", write, "/", EACCES, 513, "You don’t have permission to save the file “/”."},
    {"FolderWithIllFormedBytes",
     write,
     "/a\x80\n/x",
     EACCES,
     513,
     "You don’t have permission to save the file “x” in the folder “a\xEF\xBF\xBD?”."},
};

INSTANTIATE_TEST_SUITE_P(Read,
                         FileFailures,
                         testing::ValuesIn(readFailures),
                         caseName<FileFailure>);
INSTANTIATE_TEST_SUITE_P(Write,
                         FileFailures,
                         testing::ValuesIn(writeFailures),
                         caseName<FileFailure>);

TEST(SpokenFileName, ShowsWhatTurnsTheDirectionOfATextAsQuestionMarks) {
    EXPECT_EQ(spokenFileName("/y/a\u202Egpj.exe"), "a?gpj.exe");
    EXPECT_EQ(spokenFileName("/y/\u2066x\u2069\u061C\u200E"), "?x???");
}

TEST(SpokenFileName, IsCutAfterTheLengthOfTheLongestName) {
    std::string name(3'000'000, 'x');
    EXPECT_EQ(spokenFileName(name).size(), 255 + std::string("…").size());
    name.resize(254);
    name += "é";
    EXPECT_TRUE(spokenFileName(name).ends_with("xx…")) << "no character is cut in two";
}

}  // namespace
}  // namespace kelto
