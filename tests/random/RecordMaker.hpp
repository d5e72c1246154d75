#pragma once

#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tests/random/Dice.hpp"
#include "tests/random/HostFiles.hpp"

namespace kelto::history {

/// Rolls the records that a host sends: new ones, edits of those it has received, deletions, and
/// what a broken host would make of them.
class RecordMaker {
public:
    /// What is given is borrowed. `directory` is the host's exchange folder.
    RecordMaker(Dice& dice, const HostFiles& files, std::string directory);

    [[nodiscard]] JsonValue project();
    [[nodiscard]] JsonValue tag();
    [[nodiscard]] JsonValue thing();
    [[nodiscard]] JsonValue deletion();

    /// A received record as a host sends it back. `fingerprints` are those that were seen so far.
    [[nodiscard]] JsonValue sentBack(const JsonValue& received,
                                     const std::vector<std::string>& fingerprints);
    /// Changes a few fields to other sensible values.
    void edit(JsonValue& record);
    /// Changes fields to what no sensible host would send, but the library reads forgivingly.
    void spoil(JsonValue& record);
    /// Something that has to fail the exchange, at least when the record is applied.
    void breakFatally(JsonValue& record);

private:
    void editThing(JsonValue& record);
    void editProject(JsonValue& record);
    void moveInTime(JsonValue& record);
    void setPayload(JsonValue& record, const std::string& key);
    void repeatAKey(JsonValue& record);
    [[nodiscard]] JsonValue strangeValue(const std::string& key);
    [[nodiscard]] JsonValue someTags();
    [[nodiscard]] JsonValue someMilliseconds();
    [[nodiscard]] std::string someParent(const std::string& project);
    [[nodiscard]] std::string cased(std::string id);
    [[nodiscard]] std::string badPath();

    Dice& dice_;
    const HostFiles& files_;
    std::string directory_;
};

}  // namespace kelto::history
