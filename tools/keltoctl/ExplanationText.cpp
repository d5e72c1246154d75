#include <array>

#include "tools/keltoctl/Explanation.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/RecordFields.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

std::string_view typeName(RecordType type) {
    switch (type) {
        case RecordType::project:
            return "Project";
        case RecordType::tag:
            return "Tag";
        case RecordType::thing:
            break;
    }
    return "Thing";
}

/// What becomes of the record, in a word that stays the same for programs.
std::string_view verdict(MergeReason reason) {
    switch (reason) {
        case MergeReason::isNew:
            return "create";
        case MergeReason::storedIsLater:
        case MergeReason::onlyStoreChanged:
            return "skip";
        case MergeReason::bothChanged:
            return "keepBoth";
        case MergeReason::deletedByHost:
            return "delete";
        case MergeReason::unknownToDelete:
            return "nothing";
        case MergeReason::isJustMade:
        case MergeReason::hostAlwaysWins:
        case MergeReason::recordIsNotOlder:
        case MergeReason::sameFile:
        case MergeReason::onlyHostChanged:
            break;
    }
    return "apply";
}

std::string_view nameOf(MergeReason reason) {
    constexpr std::array names = {"new",
                                  "justMade",
                                  "hostAlwaysWins",
                                  "notOlder",
                                  "older",
                                  "sameFile",
                                  "onlyHostChanged",
                                  "onlyStoreChanged",
                                  "bothChanged",
                                  "deletedByHost",
                                  "unknown"};
    return names.at(static_cast<std::size_t>(reason));
}

std::string spoken(const std::optional<Date>& date) {
    const auto moment = date ? date->representableMilliseconds() : std::nullopt;
    if (!moment) return "at no known time";
    return localTime(*moment) + " (" + std::to_string(*moment) + ")";
}

std::string shortened(const std::string& fingerprint) {
    return terminalSafe(shortIdentifier(fingerprint));
}

/// How much later the one is than the other.
std::string difference(const std::optional<Date>& earlier, const std::optional<Date>& later) {
    const auto from = earlier ? earlier->representableMilliseconds() : std::nullopt;
    const auto to = later ? later->representableMilliseconds() : std::nullopt;
    std::int64_t milliseconds = 0;
    if (!from || !to || __builtin_sub_overflow(*to, *from, &milliseconds)) return ", later";
    if (milliseconds <= 0) return ", less than 1 ms later";
    return ", " +
           (milliseconds < 1000 ? std::to_string(milliseconds) + " ms" : duration(milliseconds)) +
           " later";
}

std::string fingerprints(const MergeDecision& decision) {
    return "the host's file is " + shortened(decision.incoming) + ", based on " +
           shortened(decision.base) + ", the library's is " + shortened(decision.stored);
}

std::string because(const MergeDecision& decision) {
    switch (decision.reason) {
        case MergeReason::isNew:
            return "the library holds nothing under this identifier";
        case MergeReason::isJustMade:
            return "an earlier record of the request makes it";
        case MergeReason::hostAlwaysWins:
            return "of projects and tags, what was sent last holds";
        case MergeReason::recordIsNotOlder:
            if (decision.recordTime == decision.storedTime)
                return "both versions were changed " + spoken(decision.recordTime) +
                       ", and the host's wins then";
            return "the host's version was changed " + spoken(decision.recordTime) +
                   difference(decision.storedTime, decision.recordTime) +
                   " than the library's of " + spoken(decision.storedTime);
        case MergeReason::storedIsLater:
            return "the library's version was changed " + spoken(decision.storedTime) +
                   difference(decision.recordTime, decision.storedTime) + " than the host's of " +
                   spoken(decision.recordTime);
        case MergeReason::sameFile:
            return "in a linked folder, and both sides hold the same file: " +
                   fingerprints(decision);
        case MergeReason::onlyHostChanged:
            return "in a linked folder, and only the host has changed the file: " +
                   fingerprints(decision);
        case MergeReason::onlyStoreChanged:
            return "in a linked folder, and only the library has changed the file: " +
                   fingerprints(decision);
        case MergeReason::bothChanged:
            return "in a linked folder, and both sides have changed the file: " +
                   fingerprints(decision);
        case MergeReason::deletedByHost:
            return "the host has deleted it";
        case MergeReason::unknownToDelete:
            break;
    }
    return "the host has deleted it, and the library does not hold it";
}

std::string consequence(const MergeDecision& decision) {
    if (decision.copy) {
        return "; the library's version " +
               std::string(decision.isCopyNew ? "is kept as " : "is kept already, as ") +
               std::string(shortIdentifier(decision.copy->lowerCaseText()));
    }
    const bool isApplied = verdict(decision.reason) == "apply";
    return isApplied && !decision.changesObject ? "; nothing in it is different" : "";
}

void setMoment(JsonValue& document, std::string_view key, const std::optional<Date>& date) {
    const auto moment = date ? date->representableMilliseconds() : std::nullopt;
    if (moment) document.setMember(key, *moment);
}

JsonValue toJson(const MergeDecision& decision) {
    JsonValue document{JsonMembers{{"record", static_cast<std::int64_t>(decision.record)},
                                   {"recordType", typeName(decision.type)},
                                   {"uuid", decision.identifier.lowerCaseText()},
                                   {"name", decision.name},
                                   {"decision", verdict(decision.reason)},
                                   {"reason", nameOf(decision.reason)},
                                   {"changes", decision.changesObject}}};
    setMoment(document, "storedUpdatedAt", decision.storedTime);
    setMoment(document, "recordUpdatedAt", decision.recordTime);
    if (!decision.stored.empty()) {
        document.setMember("baseFileFingerprint", decision.base);
        document.setMember("storedFileFingerprint", decision.stored);
        document.setMember("recordFileFingerprint", decision.incoming);
    }
    if (decision.copy) {
        document.setMember("copy", decision.copy->lowerCaseText());
        document.setMember("copyIsNew", decision.isCopyNew);
    }
    return document;
}

}  // namespace

std::string printed(const Explanation& explanation) {
    constexpr std::size_t verdictWidth = 8;
    std::string text;
    for (const MergeDecision& decision : explanation.decisions) {
        const std::string id = decision.identifier.lowerCaseText();
        const std::string_view word =
            decision.reason == MergeReason::bothChanged ? "keep both" : verdict(decision.reason);
        text += fitted(word, verdictWidth + 1) + " " +
                spokenRecord(typeName(decision.type), decision.name, id) + ": " +
                because(decision) + consequence(decision) + ".\n";
    }
    if (explanation.refusal.empty()) return text;
    const std::string about =
        explanation.refusedRecord
            ? " It is about record " + std::to_string(*explanation.refusedRecord + 1) + "."
            : "";
    return text + "Nothing of this would happen; the library would refuse the request: " +
           terminalSafe(explanation.refusal) + about + "\n";
}

JsonValue toJson(const Explanation& explanation) {
    JsonElements decisions;
    decisions.reserve(explanation.decisions.size());
    for (const MergeDecision& decision : explanation.decisions) {
        decisions.push_back(toJson(decision));
    }
    JsonValue document{JsonMembers{{"decisions", std::move(decisions)}}};
    if (!explanation.refusal.empty()) document.setMember("refusal", explanation.refusal);
    if (explanation.refusedRecord) {
        document.setMember("refusedRecord", static_cast<std::int64_t>(*explanation.refusedRecord));
    }
    return document;
}

}  // namespace kelto::ctl
