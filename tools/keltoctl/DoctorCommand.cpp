#include <memory>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Confirmation.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/StoreCare.hpp"
#include "tools/keltoctl/StoreDocument.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

struct DoctorOptions {
    bool repair = false;
    bool dryRun = false;
    bool yes = false;
    std::string store;  ///< empty: the library's own
};

std::string lines(const std::vector<std::string>& sentences, std::string_view mark) {
    std::string text;
    for (const std::string& sentence : sentences) {
        text += std::string(mark) + terminalSafe(sentence) + "\n";
    }
    return text;
}

std::vector<std::string> sentencesOf(const std::vector<RepairStep>& steps) {
    std::vector<std::string> sentences;
    sentences.reserve(steps.size());
    for (const RepairStep& step : steps) sentences.push_back(step.sentence);
    return sentences;
}

std::string summary(const RepairOutcome& outcome) {
    std::string text = "Mended " + counted(outcome.done, "finding") + ".\n";
    if (!outcome.kept.empty()) text += "What was taken out of the library is kept:\n";
    return text + lines(outcome.kept, "  ") + lines(outcome.left, "! ");
}

int finish(Host& host,
           const std::string& storePath,
           const StoreReport& report,
           const JsonValue& document) {
    host.print(textOf(storePath, report), document);
    return report.isHealthy() ? exitStatus::done : exitStatus::refused;
}

/// Looks over the library's own store, or the one that was named.
using Inspection = StoreReport (*)(const std::string& storePath);

int inspect(Host& host, const std::string& storePath, Inspection inspection) {
    const StoreReport report = inspection(storePath);
    const std::size_t mendable = planRepair(report).size();
    JsonValue document = toJson(storePath, report);
    document.setMember("mendable", static_cast<std::int64_t>(mendable));
    const int status = finish(host, storePath, report, document);
    if (mendable > 0 && !host.wantsJson()) {
        host.print("“keltoctl doctor --repair” mends " + std::to_string(mendable) + " of " +
                       counted(report.findings.size(), "finding") + ".\n",
                   nullptr);
    }
    return status;
}

/// Mends, looks again, and answers by what is left then.
int repair(Host& host,
           const std::string& storePath,
           Inspection inspection,
           const DoctorOptions& options) {
    const StoreReport before = inspection(storePath);
    const std::vector<RepairStep> steps = planRepair(before);
    if (steps.empty()) {
        JsonValue document = toJson(storePath, before);
        document.setMember("steps", JsonElements{});
        return finish(host, storePath, before, document);
    }
    const std::string plan = "What would be done:\n" + lines(sentencesOf(steps), "- ");
    if (options.dryRun) {
        JsonValue document = toJson(storePath, before);
        document.setMember("steps", textsToJson(sentencesOf(steps)));
        host.print(textOf(storePath, before) + plan, document);
        return exitStatus::refused;
    }
    if (!host.wantsJson()) host.print(textOf(storePath, before) + plan, nullptr);
    confirm("Do it?", options.yes);
    const RepairOutcome outcome = repairStore(storePath, steps);
    const StoreReport after = inspection(storePath);
    if (!host.wantsJson()) host.print(summary(outcome), nullptr);
    JsonValue document = toJson(storePath, after);
    document.setMember("steps", textsToJson(sentencesOf(steps)));
    document.setMember("mended", static_cast<std::int64_t>(outcome.done));
    document.setMember("kept", textsToJson(outcome.kept));
    document.setMember("left", textsToJson(outcome.left));
    return finish(host, storePath, after, document);
}

int runDoctor(Host& host, const DoctorOptions& options) {
    if (options.dryRun && !options.repair) {
        throw WrongUsage("--dry-run shows what --repair would do; give both.");
    }
    const bool isOwn = options.store.empty();
    const std::string storePath = isOwn ? host.storePath() : options.store;
    const Inspection inspection = isOwn ? &inspectStore : &inspectStoreAlone;
    return options.repair ? repair(host, storePath, inspection, options)
                          : inspect(host, storePath, inspection);
}

}  // namespace

void addDoctorCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<DoctorOptions>();
    CLI::App* doctor =
        app.add_subcommand("doctor", "Look the library's files over, and mend them if asked");
    doctor->add_flag("--repair", options->repair, "Mend what can be mended, after asking");
    doctor->add_flag("--dry-run", options->dryRun, "With --repair: only say what would be done");
    doctor->add_flag("--yes", options->yes, "With --repair: do not ask");
    doctor
        ->add_option(
            "--store", options->store, "Another store's file than the library's own Kelto.store")
        ->type_name("FILE");
    doctor->footer(
        "It looks over the database, every item and the bytes of every file: one line says that "
        "the library is healthy, or a line for each finding what it is and what it means. It works "
        "while programs use the library, and on one that no program opens. Whatever mending takes "
        "out of the library is kept in the folder “Lost and found” beside the store.");
    doctor->callback([&chosen, options] {
        chosen = [options](Host& host) { return runDoctor(host, *options); };
    });
}

}  // namespace kelto::ctl
