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

JsonValue textsToJson(const std::vector<std::string>& texts) {
    return JsonElements(texts.begin(), texts.end());
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
    Session& session = host.freshSession();
    const ImportReport report = importFolder(session, options);
    host.print(summary(session, report), importDocument(report));
    return complainAbout(report.problems);
}

int runExport(Host& host, const std::string& folder) {
    const ExportReport report = exportLibrary(host.freshSession().snapshot(), folder);
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
    CLI::App* import =
        app.add_subcommand("import", "Make a project of a folder and things of its files");
    import->add_option("FOLDER", options->folder, "The folder")->required();
    import->add_option("--project", options->projectName, "Name of the project; else the folder's");
    import->add_flag("--link", options->link, "Tie the project to the folder");
    import->add_option("--tag", options->tags, "A tag for every thing (repeatable)")
        ->allow_extra_args(false);
    import->callback([&chosen, options] {
        chosen = [options](Host& host) { return runImport(host, *options);
};
}  // namespace kelto::ctl
);

auto target = std::make_shared<std::string>();
CLI::App* exporting =
    app.add_subcommand("export", "Write the things as files, a folder for each project");
exporting->add_option("FOLDER", *target, "Where to; made when it is missing")->required();
exporting->callback([&chosen, target] {
    chosen = [target](Host& host) { return runExport(host, *target); };
});
}

}  // namespace kelto::ctl
