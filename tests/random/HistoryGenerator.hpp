#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tests/random/Dice.hpp"
#include "tests/random/HostFiles.hpp"
#include "tests/random/LibraryModel.hpp"
#include "tests/random/RecordMaker.hpp"

namespace kelto::history {

/// One exchange and what comes to pass before it.
struct HistoryStep {
    std::size_t process = 0;  ///< Which of the processes that share the store.
    bool restarts = false;    ///< It ends and starts anew.
    Seconds now = 0;
    std::vector<FileChange> files;
    JsonValue request;  ///< May hold keys twice, as a text may.
};
using History = std::vector<HistoryStep>;

inline constexpr std::size_t processCount = 2;
/// Where the store has to lie in a history.
inline constexpr const char* storePath = "/history/store/Library/Kelto.store";

/// Rolls a whole history. Two hosts share one library, each with its own folder and its own memory
/// of the last answer, so that edits meet as they do between two machines; now and then a second
/// process serves one of them. The model tells what the answers are. The same seed gives the same
/// history.
class HistoryGenerator {
public:
    explicit HistoryGenerator(std::uint64_t seed) : dice_(seed) {}

    [[nodiscard]] History history();
    /// What the model answered, exchange by exchange.
    [[nodiscard]] const std::vector<Outcome>& outcomes() const { return outcomes_; }

private:
    struct Host {
        std::string directory;
        JsonElements snapshot;  ///< The records of its last answer.
        JsonElements requests;  ///< All that it has sent so far.
    };

    [[nodiscard]] HistoryStep step(Host& host);
    void remember(Host& host, const Outcome& outcome);
    [[nodiscard]] std::vector<FileChange> fileChanges(const Host& host);
    [[nodiscard]] JsonValue request(const Host& host);
    [[nodiscard]] JsonElements records(const Host& host);
    [[nodiscard]] JsonValue sentBack(RecordMaker& maker, const JsonValue& received);
    [[nodiscard]] JsonValue newRecord(RecordMaker& maker);
    [[nodiscard]] JsonValue knownFingerprints(const Host& host);
    [[nodiscard]] std::string spelledDirectory(const Host& host);
    void spoilEnvelope(JsonValue& request);
    void shuffle(JsonElements& records);

    Dice dice_;
    HostFiles files_;
    LibraryModel model_{storePath};
    Seconds now_ = 0;
    std::array<Host, 2> hosts_ = {Host{"/history/a", {}, {}}, Host{"/history/b", {}, {}}};
    std::vector<Outcome> outcomes_;
    bool usesBothProcesses_ = false;
    std::map<std::string, JsonElements> versions_;  ///< Of each thing, as answers have held them.
    /// Every fingerprint that any answer has held, old ones included.
    std::vector<std::string> fileFingerprints_ = {"none yet"};
    std::vector<std::string> fingerprints_ = {"none yet"};
};

}  // namespace kelto::history
