#include <memory>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Exporter.hpp"
#include "tools/keltoctl/Importer.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

int complainAbout(const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) Host::complain(problem);
    return problems.empty() ? exitStatus::done : exitStatus::refused;
}

std::string summary(const Session& session, const ImportReport& report) {
    std::string text =
        "Imported into “" + terminalSafe(session.snapshot().projectPath(report.rootId)) +
        "”: " + std::to_string(report.added) + " new, " + std::to_string(report.updated) +
        " updated, " + std::to_string(report.unchanged) + " unchanged";
    if (report.stood > 0) text += ", " + std::to_string(report.stood) + " newer in the library";
    if (report.deleted > 0) text += ", " + std::to_string(report.deleted) + " deleted";
    if (report.passedOver > 0) text += ", " + std::to_string(report.passedOver) + " passed over";
    return text + ".\n" + sentence(report.exchange) + ".\n";
}

int showPlan(const Host& host, const ImportReport& report) {
    const std::string text =
        std::to_string(report.added) + " new, " + std::to_string(report.updated) + " updated, " +
        std::to_string(report.unchanged) + " unchanged, " + std::to_string(report.deleted) +
        " deleted, " + std::to_string(report.passedOver) + " passed over.\n";
    host.print(text + printed(report.planned),
               JsonMembers{{"dryRun", true},
                           {"changes", toJson(report.planned)},
                           {"problems", textsToJson(report.problems)}});
    return complainAbout(report.problems);
}

JsonValue importDocument(const ImportReport& report) {
    JsonValue document{JsonMembers{{"project", report.rootId}}};
    const auto set = [&](std::string_view key, std::size_t count) {
        document.setMember(key, static_cast<std::int64_t>(count));
    };
    set("added", report.added);
    set("updated", report.updated);
    set("unchanged", report.unchanged);
    set("newerInLibrary", report.stood);
    set("deleted", report.deleted);
    set("passedOver", report.passedOver);
    document.setMember("problems", textsToJson(report.problems));
    document.setMember("exchange", toJson(report.exchange));
    return document;
}

int runImport(Host& host, ImportOptions options) {
    options.nowMilliseconds = Host::nowMilliseconds();
    Session& session = host.sessionFor(options.dryRun);
    const ImportReport report = importFolder(session, options);
    if (options.dryRun) return showPlan(host, report);
    host.print(summary(session, report), importDocument(report));
    return complainAbout(report.problems);
}

struct ExportCommandOptions {
    std::string folder;
    bool dryRun = false;
};

int showPlan(const Host& host, const ExportReport& report) {
    std::string text;
    for (const std::string& path : report.paths) text += terminalSafe(path) + "\n";
    host.print(text + counted(report.files, "file") + " and " + counted(report.folders, "folder") +
                   ". Nothing was written: this only shows what would be.\n",
               JsonMembers{{"dryRun", true},
                           {"paths", textsToJson(report.paths)},
                           {"problems", textsToJson(report.problems)}});
    return complainAbout(report.problems);
}

int runExport(Host& host, const ExportCommandOptions& options) {
    const std::string& folder = options.folder;
    const Snapshot& snapshot = host.sessionFor(options.dryRun).snapshot();
    if (options.dryRun) return showPlan(host, exportPlan(snapshot, folder));
    const ExportReport report = exportLibrary(snapshot, folder);
    host.print("Wrote " + counted(report.files, "file") + " and " +
                   counted(report.folders, "folder") + " into “" + terminalSafe(folder) + "”.\n",
               JsonMembers{{"files", static_cast<std::int64_t>(report.files)},
                           {"folders", static_cast<std::int64_t>(report.folders)},
                           {"problems", textsToJson(report.problems)}});
    return complainAbout(report.problems);
}

}  // namespace

void addFolderCommands(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<ImportOptions>();
    CLI::App* importing =
        app.add_subcommand("import", "Make a project of a folder and things of its files");
    importing->add_option("FOLDER", options->folder, "The folder")->required();
    importing
        ->add_option("--project", options->projectName, "Name of the project; else the folder's")
        ->type_name("NAME");
    importing->add_flag("--link", options->link, "Tie the project to the folder");
    importing->add_option("--tag", options->tags, "A tag for every thing (repeatable)")
        ->type_name("TAG")
        ->allow_extra_args(false);
    addDryRun(*importing, options->dryRun);
    importing->footer(
        "Importing a folder again sends what has changed. With --link, what has gone from the "
        "folder is deleted from the library, and what was changed on both sides is kept twice.");
    importing->callback([&chosen, options] {
        chosen = [options](Host& host) { return runImport(host, *options); };
    });

    auto target = std::make_shared<ExportCommandOptions>();
    CLI::App* exporting =
        app.add_subcommand("export", "Write the things as files, a folder for each project");
    exporting->add_option("FOLDER", target->folder, "Where to; made when it is missing")
        ->required();
    addDryRun(*exporting, target->dryRun);
    exporting->footer(
        "Nothing is overwritten: a name that is taken gets “ (2)”. Things in the trash are left "
        "out.");
    exporting->callback(
        [&chosen, target] { chosen = [target](Host& host) { return runExport(host, *target); }; });
}

}  // namespace kelto::ctl
