#include <cerrno>
#include <memory>
#include <system_error>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/LibraryPage.hpp"
#include "tools/keltoctl/NewFile.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ReplacementFile.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

struct PageOptions {
    std::string file;
    std::string pictures = "small";  ///< or "all" or "none"
    bool force = false;              ///< replace a file that is there
};

PictureChoice choiceNamed(const std::string& name) {
    if (name == "all") return PictureChoice::all;
    return name == "none" ? PictureChoice::none : PictureChoice::small;
}

[[noreturn]] void refuse(const std::string& file, int reason) {
    if (reason == EEXIST) throw Refusal(takenSentence(file));
    const char* remedy = "name a file elsewhere";
    if (reason == EACCES || reason == EPERM || reason == EROFS)
        remedy = "name a file in a folder that you may write to";
    if (reason == ENOSPC || reason == EDQUOT)
        remedy = "free some space, or leave pictures out with --pictures none";
    if (reason == ENAMETOOLONG) remedy = "give it a shorter name";
    throw Refusal("cannot write " + quotedName(file) + ": " +
                  std::generic_category().message(reason) + "; " + remedy + ".");
}

std::string verb(std::size_t count) {
    return count == 1 ? " is" : " are";
}

std::string pageText(const PageOptions& options, const PageReport& report, std::int64_t bytes) {
    std::string text = "Wrote “" + terminalSafe(options.file) + "”, " + byteCount(bytes) + ": " +
                       counted(report.items, "thing") + ", " + std::to_string(report.pictures) +
                       " of them with a picture.\n";
    if (const std::size_t count = report.tooLargePictures; count > 0)
        text += counted(count, "picture") + verb(count) +
                " left out as too large for a page that opens quickly; --pictures all takes " +
                (count == 1 ? "it" : "them") + " along.\n";
    if (const std::size_t count = report.unshownPictures; count > 0)
        text += counted(count, "picture") + verb(count) +
                " of a kind that browsers do not show, or could not be read.\n";
    if (const std::size_t count = report.shortenedTexts; count > 0)
        text += counted(count, "long text") + verb(count) + " shortened to " +
                byteCount(static_cast<std::int64_t>(pageTextBytes)) + ".\n";
    return text;
}

JsonValue documentOf(const PageOptions& options, const PageReport& report, std::int64_t bytes) {
    JsonMembers document;
    document.emplace_back("file", options.file);
    document.emplace_back("bytes", bytes);
    const auto add = [&](const char* key, std::size_t count) {
        document.emplace_back(key, static_cast<std::int64_t>(count));
    };
    add("items", report.items);
    add("inTrash", report.inTrash);
    add("conflictCopies", report.conflictCopies);
    add("picturesEmbedded", report.pictures);
    add("picturesLeftOut",
        report.tooLargePictures + report.unshownPictures + report.unwantedPictures);
    add("picturesTooLarge", report.tooLargePictures);
    add("textsShortened", report.shortenedTexts);
    return document;
}

int runPage(Host& host, const PageOptions& options) {
    requireFreeName({.path = options.file,
                     .noun = "page",
                     .example = "library.html",
                     .mayReplace = options.force,
                     .storePath = host.storePath()});
    // Made before the library is asked: a place that cannot be written to is told at once.
    ReplacementFile file(options.file);
    if (!file) refuse(options.file, errno);
    const Snapshot& snapshot = host.freshSession().snapshot();
    std::int64_t bytes = 0;
    const auto put = [&](std::string_view piece) {
        if (!file.write(piece)) refuse(options.file, errno);
        bytes += static_cast<std::int64_t>(piece.size());
    };
    const PageReport report =
        writeLibraryPage(snapshot, choiceNamed(options.pictures), Host::nowMilliseconds(), put);
    using Present = ReplacementFile::Present;
    if (!file.takePlace(options.force ? Present::replace : Present::keep))
        refuse(options.file, errno);
    host.print(pageText(options, report, bytes), documentOf(options, report, bytes));
    return exitStatus::done;
}

}  // namespace

void addPageCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<PageOptions>();
    CLI::App* page = app.add_subcommand(
        "page", "Write the library as one HTML page to look through and search in a browser");
    page->add_option("FILE", options->file, "The new file, for example library.html")
        ->required()
        ->type_name("FILE");
    page->add_option("--pictures",
                     options->pictures,
                     "Which pictures are put into it: small (thumbnails, and files up to 250 kB; "
                     "the default), all or none")
        ->type_name("WHICH")
        ->check(oneOf({"small", "all", "none"}));
    page->add_flag("--force", options->force, "Replace a file that is there");
    page->footer(
        "The page asks nothing of any network. It carries thumbnails, and images up to 250 kB, at "
        "most 25 MB together, unless --pictures says otherwise; what is left out shows a badge.");
    page->callback(
        [&chosen, options] { chosen = [options](Host& host) { return runPage(host, *options); }; });
}

}  // namespace kelto::ctl
