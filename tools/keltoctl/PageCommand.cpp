#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/LibraryPage.hpp"
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

std::string quoted(const std::string& path) {
    return "“" + path + "”";
}

std::filesystem::path folderOf(const std::string& file) {
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    return folder.empty() ? "." : folder;
}

/// Refuses a name that a page cannot be written under, before anything is asked of the library.
void requireFreeName(const PageOptions& options) {
    std::error_code ignored;
    const std::string& file = options.file;
    if (file.empty()) throw WrongUsage("the page needs a name; write keltoctl page FILE.html.");
    if (std::filesystem::is_directory(file, ignored))
        throw Refusal(quoted(file) + " is a folder; name the file to write, for example " +
                      quoted((std::filesystem::path(file) / "library.html").string()) + ".");
    const std::string folder = folderOf(file).string();
    if (!std::filesystem::is_directory(folder, ignored))
        throw Refusal("cannot write " + quoted(file) + ": there is no folder " + quoted(folder) +
                      "; make it first, or name a file elsewhere.");
    if (!std::filesystem::exists(std::filesystem::symlink_status(file, ignored))) return;
    if (!options.force) throw Refusal(quoted(file) + " is there already; --force replaces it.");
    // A device or a pipe would be replaced by a file, which nobody means.
    if (std::filesystem::exists(file, ignored) && !std::filesystem::is_regular_file(file, ignored))
        throw Refusal(quoted(file) + " is no ordinary file; name another one.");
}

[[noreturn]] void refuse(const std::string& file, int reason) {
    const char* remedy = "name a file elsewhere";
    if (reason == EACCES || reason == EPERM || reason == EROFS)
        remedy = "name a file in a folder that you may write to";
    if (reason == ENOSPC || reason == EDQUOT)
        remedy = "free some space, or leave pictures out with --pictures none";
    if (reason == ENAMETOOLONG) remedy = "give it a shorter name";
    throw Refusal("cannot write " + quoted(file) + ": " + std::generic_category().message(reason) +
                  "; " + remedy + ".");
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
    requireFreeName(options);
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
    if (!file.takePlace()) refuse(options.file, errno);
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
        ->check(CLI::IsMember(std::vector<std::string>{"small", "all", "none"}));
    page->add_flag("--force", options->force, "Replace a file that is there");
    page->footer(
        "The page asks nothing of any network. It carries thumbnails, and images up to 250 kB, at "
        "most 25 MB together, unless --pictures says otherwise; what is left out shows a badge.");
    page->callback(
        [&chosen, options] { chosen = [options](Host& host) { return runPage(host, *options); }; });
}

}  // namespace kelto::ctl
