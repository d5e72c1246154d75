#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "kelto/foundation/Json.hpp"
#include "tests/random/ModelLibrary.hpp"

namespace kelto::history {

/// Thrown by the model where an exchange has to fail.
struct Refusal {
    std::string sentence;
    std::optional<std::string> unreadableFile;
};

/// How often a merge decided what, by a sentence that says it.
using Decisions = std::map<std::string, std::size_t>;

/// How the host's records become part of the library.
class MergeModel {
public:
    /// Changes `library` as it goes, also when it throws in the end.
    MergeModel(ModelLibrary& library, const HostFiles& files, std::string directory, Seconds now);

    void merge(const JsonElements& records);
    [[nodiscard]] const Decisions& decisions() const { return decisions_; }

private:
    void create(const JsonValue& record);
    void update(const JsonValue& record);
    void remove(const JsonValue& record);
    void updateProject(ModelProject& project, const JsonValue& record);
    void updateThing(ModelThing& thing, const JsonValue& record);
    void applyThing(ModelThing& thing, const JsonValue& record, Content data);
    void keepBothSides(const ModelThing& thing);
    void checkCycles() const;

    /// Notes the decision and answers `wins`.
    bool decided(bool wins, const char* why);
    [[nodiscard]] bool hostWins(const ModelThing& thing,
                                const JsonValue& record,
                                const Content& data);
    [[nodiscard]] bool isLinked(const ModelThing& thing) const;
    [[nodiscard]] Content payload(const JsonValue& record, std::string_view key) const;
    /// The identifier under the key, when it names a project of the library.
    [[nodiscard]] std::optional<Id> knownProject(const JsonValue& record,
                                                 std::string_view key) const;

    ModelLibrary& library_;
    const HostFiles& files_;
    std::string directory_;
    Seconds now_;
    Decisions decisions_;
    std::set<Id> existingThings_;  ///< Those that were there before this request.
};

}  // namespace kelto::history
