#include <cerrno>
#include <filesystem>

#include "tests/AppleBridge/SentenceCases.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

void nameFile(RequestBuilder& request, const std::string& file) {
    request.record(RecordBuilder::thing(firstId).with("data", file));
}

/// The folder "received" cannot be made.
template <int errorNumber>
std::string answerWithoutReceived() {
    TestLibrary library;
    library.platform().files->fail({.operation = FileOperation::createFolders,
                                    .pathPattern = "*/received",
                                    .errorNumber = errorNumber});
    return library.exchange().error();
}

SentenceCase unsaved(const char* name, const std::string& why, std::string (*produce)()) {
    return {name, "The file “<file>” couldn’t be saved in the folder “<folder>”" + why, produce};
}

/// A failing account service.
std::function<std::string()> answerOfService(const PlatformError& failure) {
    return [failure] {
        TestLibrary library;
        library.platform().account->statusFailure = failure;
        return library.exchange().error();
    };
}

PlatformError manyFailures() {
    ErrorDictionary failures;
    for (const char* sentence : {"One.", "Two.", "Three.", "Four."}) {
        failures.entries.emplace_back(sentence,
                                      PlatformError::described("Service", 1, sentence).object());
    }
    return {errorDomain::cloudKit,
            2,
            ErrorDictionary({{std::string(errorKey::partialErrorsByItemId), failures}})};
}

std::vector<SentenceCase> serviceSentences() {
    return {
        {"CloudError",
         "<sentence> (CloudKit <code>)",
         answerOfService(PlatformError::described(errorDomain::cloudKit, 9, "Not authenticated."))},
        {"SeveralErrors", "<sentence>; <sentence>; <sentence>", answerOfService(manyFailures())},
        {"ErrorWithoutASentence",
         "The operation couldn’t be completed. (<domain> error <code>.)",
         answerOfService(PlatformError("Service", 9))},
        {"SystemErrorWithoutASentence",
         "The operation couldn’t be completed. <reason>",
         answerOfService(PlatformError(errorDomain::posix, ECONNREFUSED))},
    };
}

}  // namespace

std::vector<SentenceCase> fileSentences() {
    std::vector<SentenceCase> cases{
        {"MissingFile",
         "The file “<file>” couldn’t be opened because there is no such file.",
         refusedAfter([](TestLibrary& library, RequestBuilder& request) {
             nameFile(request, library.exchangeFolder() + "/missing");
         })},
        {"ForbiddenFile",
         "The file “<file>” couldn’t be opened because you don’t have permission to view it.",
         refusedAfter([](TestLibrary& library, RequestBuilder& request) {
             nameFile(request, library.putFile("secret", "x"));
             library.platform().files->fail({.operation = FileOperation::openForReading,
                                             .pathPattern = "*/secret",
                                             .errorNumber = EACCES});
         })},
        {"TooLongName",
         "The file “<file>” couldn’t be opened because the file name is invalid.",
         refusedAfter([](TestLibrary& library, RequestBuilder& request) {
             nameFile(request, library.putFile("long", "x"));
             library.platform().files->fail({.operation = FileOperation::openForReading,
                                             .pathPattern = "*/long",
                                             .errorNumber = ENAMETOOLONG});
         })},
        {"FolderAsAFile",
         "The file “<file>” couldn’t be opened (<reason>).",
         refusedAfter([](TestLibrary& library, RequestBuilder& request) {
             std::filesystem::create_directory(library.exchangeFolder() + "/folder");
             nameFile(request, library.exchangeFolder() + "/folder");
         })},
        {"OverwrittenMarker",
         "The file “AvaloniaCloudAccount” couldn’t be opened because it isn’t in the correct "
         "format.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             writeFile(library.markerPath(), "\xFF");
         })},
        {"VanishedFolder", "The file “<file>” doesn’t exist.", answerWithoutReceived<ENOENT>},
        {"ForbiddenFolder",
         "You don’t have permission to save the file “<file>” in the folder “<folder>”.",
         answerWithoutReceived<EACCES>},
        unsaved("TooLongPath",
                " because the file name is invalid.",
                answerWithoutReceived<ENAMETOOLONG>),
        {"FileInAFoldersPlace",
         "The file “<file>” couldn’t be saved in the folder “<folder>” because a file with the "
         "same name already exists.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             writeFile(library.receivedFolder(), "a file");
         })},
        unsaved("FullDisk", " because there isn’t enough space.", answerWithoutReceived<ENOSPC>),
        unsaved(
            "ReadOnlyVolume", " because the volume is read only.", answerWithoutReceived<EROFS>),
        unsaved("FailingDisk", " (<reason>).", answerWithoutReceived<EIO>),
        {"LinkInAFoldersPlace",
         "The folder “received” in the exchange folder is a link to another place. Remove the "
         "link, so that payload files can be written.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             std::filesystem::create_directory_symlink(library.libraryFolder(),
                                                       library.receivedFolder());
             std::filesystem::create_directories(library.libraryFolder());
         })},
    };
    for (SentenceCase& each : serviceSentences()) cases.push_back(std::move(each));
    return cases;
}

}  // namespace kelto
