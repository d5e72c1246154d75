#include "tools/keltoctl/RecordFields.hpp"

#include <algorithm>

#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t valueWidth = 48;
constexpr std::size_t leastNameWidth = 10;

bool isMoment(std::string_view field) {
    return field == "createdAt" || field == "updatedAt" || field == "trashedAt";
}

std::string shownIdentifiers(const JsonElements& identifiers) {
    std::string text;
    for (const JsonValue& identifier : identifiers) {
        if (!text.empty()) text += ", ";
        text += identifier.string() == nullptr ? identifier.text()
                                               : std::string(shortIdentifier(*identifier.string()));
    }
    return text.empty() ? "none" : cutTo(terminalSafe(text), valueWidth);
}

std::string shown(std::string_view field, const std::optional<JsonValue>& value) {
    if (!value) return "none";
    if (const std::string* text = value->string()) {
        return "“" + cutTo(terminalSafe(*text), valueWidth) + "”";
    }
    if (value->array() != nullptr) return shownIdentifiers(*value->array());
    if (isMoment(field) && value->number() != nullptr) {
        // Versions that were made within one minute are told apart by the number.
        if (const auto moment = value->number()->integer()) {
            return localTime(*moment) + " (" + std::to_string(*moment) + ")";
        }
    }
    return terminalSafe(value->text());
}

}  // namespace

std::vector<FieldChange> fieldChanges(const JsonValue& before, const JsonValue& after) {
    std::vector<FieldChange> changes;
    for (const auto& [field, value] : *before.object()) {
        const JsonValue* other = after.member(field);
        if (other == nullptr) {
            changes.push_back({field, value, std::nullopt});
        } else if (!(*other == value)) {
            changes.push_back({field, value, *other});
        }
    }
    for (const auto& [field, value] : *after.object()) {
        if (before.member(field) == nullptr) changes.push_back({field, std::nullopt, value});
    }
    return changes;
}

std::string printed(const std::vector<FieldChange>& changes) {
    std::size_t width = leastNameWidth;
    for (const FieldChange& change : changes) width = std::max(width, change.field.size());
    std::string text;
    for (const FieldChange& change : changes) {
        text += "    " + fitted(terminalSafe(change.field), width) + "  " +
                shown(change.field, change.before) + " → " + shown(change.field, change.after) +
                "\n";
    }
    return text;
}

JsonValue toJson(const std::vector<FieldChange>& changes) {
    JsonElements elements;
    for (const FieldChange& change : changes) {
        JsonMembers members{{"field", change.field}};
        if (change.before) members.emplace_back("before", *change.before);
        if (change.after) members.emplace_back("after", *change.after);
        elements.emplace_back(std::move(members));
    }
    return elements;
}

std::string spokenRecord(std::string_view recordType, std::string_view name, std::string_view id) {
    return terminalSafe(recordType) + " “" + terminalSafe(name) + "” (" +
           terminalSafe(shortIdentifier(id)) + ")";
}

}  // namespace kelto::ctl
