#include "kelto/persistence/RepairPlan.hpp"

#include <algorithm>
#include <utility>

#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

bool concernsIndexAlone(const StoreFinding& finding) {
    return finding.sentence.find(" index ") != std::string::npos;
}

/// What would be done about a finding; empty when nothing can be.
std::string remedy(const StoreFinding& finding) {
    switch (finding.kind) {
        case Kind::damagedDatabase:
            return concernsIndexAlone(finding) ? "Build all indexes anew from the tables" : "";
        case Kind::missingPart:
            return "Make “" + finding.column + "” again";
        case Kind::usedNumber:
            return "Count on behind the last " + lowerCased(finding.entity);
        case Kind::missingTarget:
            return "Look for what is missing, else let it go without";
        case Kind::illFormedList:
            return "Begin the list anew, and write down what it was";
        case Kind::missingListTarget:
            return "Take out of the list what is not there";
        case Kind::cycle:
            return "Put it at the top";
        case Kind::duplicate:
            return "Give the younger one an identifier of its own";
        case Kind::unreadableValue:
            return "Put a plain value in its place, and write down what it was";
        case Kind::missingPayload:
        case Kind::damagedPayload:
            return "Look for a copy, else keep the item without these bytes";
        case Kind::unusedPayload:
        case Kind::stray:
        case Kind::leftover:
            return "Move it to “Lost and found”";
        case Kind::permissions:
            return "Let its owner read and write it, and nobody else";
        case Kind::unusableDatabase:
            break;
    }
    return "";
}

/// In this order: a trigger that is made again sees what the later steps change; bytes that are
/// brought back no longer lack.
int rank(Kind kind) {
    return kind == Kind::missingPart ? 0 : static_cast<int>(kind) + 1;
}

}  // namespace

std::vector<RepairStep> planRepair(const StoreReport& report) {
    std::vector<RepairStep> steps;
    // Where more than indexes is damaged, writing into the database could make it worse, and what
    // it says of files cannot be relied on.
    const bool canWrite = std::all_of(
        report.findings.begin(), report.findings.end(), [](const StoreFinding& finding) {
            return finding.kind != Kind::damagedDatabase || concernsIndexAlone(finding);
        });
    bool hasRebuilt = false;
    for (const StoreFinding& finding : report.findings) {
        if (!canWrite && finding.kind != Kind::permissions) continue;
        const std::string what = remedy(finding);
        if (what.empty()) continue;
        const bool isTable =
            finding.kind == Kind::missingPart && finding.sentence.starts_with("The table");
        if (isTable) continue;
        if (finding.kind == Kind::damagedDatabase && std::exchange(hasRebuilt, true)) continue;
        steps.push_back({finding, what + ". " + finding.sentence});
    }
    std::stable_sort(steps.begin(), steps.end(), [](const auto& one, const auto& other) {
        return rank(one.finding.kind) < rank(other.finding.kind);
    });
    return steps;
}

}  // namespace kelto
