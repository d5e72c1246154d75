#include "tools/keltoctl/StoreDocument.hpp"

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

std::string contents(const StoreReport& report) {
    std::string text;
    for (const auto& [entity, count] : report.rows) {
        text += counted(static_cast<std::size_t>(count), lowerCased(entity)) + ", ";
    }
    return text + counted(static_cast<std::size_t>(report.payloads), "payload") + " of " +
           byteCount(static_cast<std::int64_t>(report.payloadBytes));
}

JsonValue toJson(const StoreFinding& finding) {
    JsonMembers members{{"kind", nameOf(finding.kind)}, {"sentence", finding.sentence}};
    if (!finding.entity.empty()) members.emplace_back("entity", finding.entity);
    if (finding.row != 0) members.emplace_back("row", finding.row);
    if (!finding.column.empty()) members.emplace_back("column", finding.column);
    if (finding.digest) members.emplace_back("digest", finding.digest->hex());
    if (!finding.path.empty()) members.emplace_back("path", repairedUtf8(finding.path));
    return members;
}

}  // namespace

std::string textOf(const std::string& storePath, const StoreReport& report) {
    std::string text;
    if (!report.isHealthy()) {
        text =
            counted(report.findings.size(), "finding") + " in “" + terminalSafe(storePath) + "”:\n";
        for (const StoreFinding& finding : report.findings) {
            text += "- " + terminalSafe(finding.sentence) + "\n";
        }
    } else if (!report.rows.empty()) {
        text = "The library is healthy: " + contents(report) + ", every byte as it was stored.\n";
    }
    for (const std::string& note : report.notes) text += terminalSafe(note) + "\n";
    return text;
}

JsonValue toJson(const std::string& storePath, const StoreReport& report) {
    JsonElements findings;
    for (const StoreFinding& finding : report.findings) findings.push_back(toJson(finding));
    JsonMembers rows;
    for (const auto& [entity, count] : report.rows) rows.emplace_back(entity, count);
    return JsonMembers{{"storePath", repairedUtf8(storePath)},
                       {"healthy", report.isHealthy()},
                       {"findings", std::move(findings)},
                       {"notes", JsonElements(report.notes.begin(), report.notes.end())},
                       {"rows", std::move(rows)},
                       {"payloads", report.payloads},
                       {"payloadBytes", static_cast<std::int64_t>(report.payloadBytes)}};
}

}  // namespace kelto::ctl
