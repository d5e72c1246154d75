#include <cstdlib>
#include <memory>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Explanation.hpp"
#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/SnapshotFile.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingChange.hpp"

namespace kelto::ctl {

namespace {

using Kind = RecordDifference::Kind;

struct DiffOptions {
    std::string first;
    std::string second;
};

/// How much one of two versions was changed later than the other.
std::string laterSentence(std::int64_t later) {
    const std::int64_t by = std::abs(later);
    return std::string("    changed ") + (by < 1000 ? std::to_string(by) + " ms" : duration(by)) +
           (later > 0 ? " later" : " earlier") + " in B\n";
}

std::string printed(const RecordDifference& difference) {
    const std::string record = spokenRecord(difference.recordType, difference.name, difference.id);
    if (difference.kind == Kind::onlyInFirst) return "- " + record + ": only in A\n";
    if (difference.kind == Kind::onlyInSecond) return "+ " + record + ": only in B\n";
    std::string text = "~ " + record + "\n" + printed(difference.fields);
    if (difference.laterInSecond) text += laterSentence(*difference.laterInSecond);
    if (difference.isBasedOnOther) {
        text += *difference.isBasedOnOther
                    ? "    based on the file that the other one holds\n"
                    : "    based on another file than the one that the other one holds\n";
    }
    return text;
}

std::string_view nameOf(Kind kind) {
    switch (kind) {
        case Kind::onlyInFirst:
            return "onlyInA";
        case Kind::onlyInSecond:
            return "onlyInB";
        case Kind::changed:
            break;
    }
    return "changed";
}

JsonValue toJson(const RecordDifference& difference) {
    JsonValue document{JsonMembers{{"difference", nameOf(difference.kind)},
                                   {"recordType", difference.recordType},
                                   {"uuid", difference.id},
                                   {"name", difference.name},
                                   {"fields", toJson(difference.fields)}}};
    if (difference.laterInSecond) {
        document.setMember("laterInBMilliseconds", *difference.laterInSecond);
    }
    if (difference.isBasedOnOther) {
        document.setMember("basedOnOther", *difference.isBasedOnOther);
    }
    return document;
}

int runDiff(Host& host, const DiffOptions& options) {
    const SnapshotFile first(options.first);
    const SnapshotFile second(options.second);
    const std::vector<RecordDifference> found = differences(first, second);
    std::string text;
    JsonElements elements;
    for (const RecordDifference& difference : found) {
        text += printed(difference);
        elements.push_back(toJson(difference));
    }
    text += found.empty() ? "The same: " + counted(second.records().size(), "record") + ".\n"
                          : counted(found.size(), "record") + " of " +
                                std::to_string(first.records().size()) + " and " +
                                std::to_string(second.records().size()) + " not the same.\n";
    host.print(text, JsonMembers{{"same", found.empty()}, {"records", std::move(elements)}});
    return found.empty() ? exitStatus::done : exitStatus::refused;
}

int runExplain(Host& host, const std::string& file) {
    return explainRequest(host, file.empty() ? host.session().requestOfAll() : requestText(file));
}

}  // namespace

int explainRequest(Host& host, const std::string& request) {
    const Explanation explanation = explain(request);
    std::string text = printed(explanation);
    if (text.empty()) text = "The request holds no records: nothing would be changed.\n";
    host.print(text, toJson(explanation));
    return explanation.refusal.empty() ? exitStatus::done : exitStatus::refused;
}

void addJudgingCommands(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<DiffOptions>();
    CLI::App* diff =
        app.add_subcommand("diff", "Say what differs between two saved requests or responses");
    diff->add_option("A", options->first, "A file")->required();
    diff->add_option("B", options->second, "Another file")->required();
    diff->footer(
        "Records are compared by identifier and field by field, in whatever order they stand. Ends "
        "with status 0 when they are the same, 1 when they are not, 2 when they cannot be "
        "compared.");
    diff->callback(
        [&chosen, options] { chosen = [options](Host& host) { return runDiff(host, *options); }; });

    auto file = std::make_shared<std::string>();
    CLI::App* explaining = app.add_subcommand(
        "explain", "Say what an exchange would do with each record of a request, and why");
    explaining->add_option("REQUEST", *file, "A file with a request; - reads standard input");
    explaining->footer(
        "Nothing is changed: the library decides on a copy of its database that is thrown away. "
        "Without a request it is the one that “keltoctl exchange” would send. Ends with status 1 "
        "when the library would refuse the request.");
    explaining->callback(
        [&chosen, file] { chosen = [file](Host& host) { return runExplain(host, *file); }; });
}

}  // namespace kelto::ctl
