#include <filesystem>
#include <memory>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Confirmation.hpp"
#include "tools/keltoctl/NewFile.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/StoreCare.hpp"
#include "tools/keltoctl/StoreDocument.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

struct BackupOptions {
    std::string file;
    bool force = false;    ///< backup: replace a file that is there
    bool check = false;    ///< restore: only look the backup over
    bool yes = false;      ///< restore: do not ask
    bool damaged = false;  ///< go on with a damaged library
    bool dryRun = false;   ///< backup: only say what would be saved
};

std::string spokenFile(const std::string& path) {
    return quotedName(terminalSafe(path));
}

std::string listed(const StoreReport& report) {
    std::string text;
    for (const StoreFinding& finding : report.findings) {
        text += "- " + terminalSafe(finding.sentence) + "\n";
    }
    return text;
}

int showBackupPlan(const Host& host, const std::string& storePath, const BackupOptions& options) {
    const StoreReport report = inspectForBackup(storePath);
    const bool isRefused = !report.isHealthy() && !options.damaged;
    JsonValue document = toJson(storePath, report);
    document.setMember("file", options.file);
    document.setMember("written", false);
    document.setMember("dryRun", true);
    host.print(textOf(storePath, report) +
                   (isRefused ? "No backup would be written without --damaged."
                              : "It would be saved in " + spokenFile(options.file) + ".") +
                   " Nothing was written: this only shows what would be.\n",
               document);
    return report.isHealthy() ? exitStatus::done : exitStatus::refused;
}

int runBackup(Host& host, const BackupOptions& options) {
    const std::string storePath = host.storePath();
    std::error_code ignored;
    if (!std::filesystem::exists(storePath, ignored)) {
        throw Refusal("there is no library yet; the first exchange makes it.");
    }
    requireFreeName({.path = options.file,
                     .noun = "backup",
                     .example = "library.tar",
                     .mayReplace = options.force,
                     .storePath = storePath});
    if (options.dryRun) return showBackupPlan(host, storePath, options);
    const StoreReport report = backUpStore(storePath, options.file, options.damaged);
    const bool isWritten = report.isHealthy() || options.damaged;
    JsonValue document = toJson(storePath, report);
    document.setMember("file", options.file);
    document.setMember("written", isWritten);
    std::string text;
    if (isWritten) {
        const auto size = std::filesystem::file_size(options.file);
        document.setMember("bytes", static_cast<std::int64_t>(size));
        text = "Saved the library in " + spokenFile(options.file) + ", " +
               byteCount(static_cast<std::int64_t>(size)) + ", read back and found whole.\n";
    }
    if (!report.isHealthy()) {
        text += "The library is damaged:\n" + listed(report);
        text += isWritten ? "All the rest is in the backup.\n"
                          : "No backup was written. Mend the library with “keltoctl doctor "
                            "--repair”, or give --damaged to save what is there.\n";
    }
    host.print(text, document);
    return report.isHealthy() ? exitStatus::done : exitStatus::refused;
}

int runRestore(Host& host, const BackupOptions& options) {
    const std::string storePath = host.storePath();
    Restoring restoring(storePath);
    StoreRestore& restore = restoring.restore();
    if (!options.check) restore.requireUnused();
    const StoreReport report = restoring.unpack(options.file);
    JsonValue document = toJson(storePath, report);
    document.setMember("file", options.file);
    if (options.check || (!report.isHealthy() && !options.damaged)) {
        document.setMember("restored", false);
        host.print(report.isHealthy() ? spokenFile(options.file) + " is whole.\n"
                                      : "The library in " + spokenFile(options.file) +
                                            " is damaged; nothing was changed, --damaged restores "
                                            "it all the same:\n" +
                                            listed(report),
                   document);
        return report.isHealthy() ? exitStatus::done : exitStatus::refused;
    }
    if (restore.isPlaceTaken()) {
        confirm("Put the library of " + spokenFile(options.file) +
                    " in the place of the present one? That one is kept beside it.",
                options.yes);
    }
    const std::string aside = restore.takePlace();
    document.setMember("restored", true);
    document.setMember("keptAside", aside);
    host.print("Restored the library of " + spokenFile(options.file) + ".\n" +
                   (aside.empty() ? "" : "The former one lies in " + spokenFile(aside) + ".\n"),
               document);
    return exitStatus::done;
}

}  // namespace

void addBackupCommands(CLI::App& app, Command& chosen) {
    auto saving = std::make_shared<BackupOptions>();
    CLI::App* backup =
        app.add_subcommand("backup", "Save the library in one file, also while it is in use");
    backup->add_option("FILE", saving->file, "The new file")->required();
    backup->add_flag("--force", saving->force, "Replace a file that is there");
    backup->add_flag("--damaged", saving->damaged, "Save what is there of a damaged library");
    addDryRun(*backup, saving->dryRun);
    backup->footer(
        "The file is a tar archive. It is read back before it takes its name. A damaged library is "
        "refused, saying what is damaged; with --damaged all the rest is saved.");
    backup->callback(
        [&chosen, saving] { chosen = [saving](Host& host) { return runBackup(host, *saving); }; });

    auto options = std::make_shared<BackupOptions>();
    CLI::App* restore = app.add_subcommand(
        "restore-backup", "Put the library of a backup into its place; the present one is kept");
    restore->add_option("FILE", options->file, "The backup")->required();
    restore->add_flag("--check", options->check, "Only look the backup over");
    restore->add_flag("--yes", options->yes, "Do not ask");
    restore->add_flag("--damaged", options->damaged, "Restore a damaged library, too");
    restore->footer(
        "The backup is put into its place whole or not at all, after looking it over and asking. "
        "The present library is kept beside it, as “Library before” and the date. Refused while a "
        "program has the library open.");
    restore->callback([&chosen, options] {
        chosen = [options](Host& host) { return runRestore(host, *options); };
    });
}

}  // namespace kelto::ctl
