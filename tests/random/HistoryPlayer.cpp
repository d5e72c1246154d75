#include "tests/random/HistoryPlayer.hpp"

#include <array>
#include <cstdlib>
#include <fstream>

#include "tests/random/FolderOnDisk.hpp"
#include "tests/random/LibraryModel.hpp"
#include "tests/random/LibraryProcess.hpp"
#include "tests/random/ResponseComparison.hpp"
#include "tests/support/FakePlatform.hpp"

namespace kelto::history {

namespace {

/// Texts that begin with one path, changed to begin with another.
void movePaths(JsonValue& value, const std::string& from, const std::string& to) {
    if (value.string() != nullptr && value.string()->starts_with(from)) {
        value = to + value.string()->substr(from.size());
    }
    if (value.array() != nullptr) {
        for (JsonValue& element : *value.array()) movePaths(element, from, to);
    }
    if (value.object() != nullptr) {
        for (auto& [key, member] : *value.object()) movePaths(member, from, to);
    }
}

/// Adds an exchange, as one line of JSON, to the file that KELTO_EXCHANGES names, if it names one:
/// for programs that check the documents themselves.
void writeDown(const std::string& request, const std::string& response) {
    static const char* const path = std::getenv("KELTO_EXCHANGES");
    if (path == nullptr) return;
    static std::ofstream file(path, std::ios::app | std::ios::binary);
    file << "{\"request\":" << request << ",\"response\":" << response << "}\n";
}

/// nullptr for a deletion, about which the model says nothing.
const char* modelsWord(const MergeDecision& decision) {
    switch (decision.reason) {
        case MergeReason::isNew:
        case MergeReason::isJustMade:
            return "the thing is new";
        case MergeReason::recordIsNotOlder:
            return decision.storedTime == decision.recordTime ? "both versions are of the same time"
                                                              : "the host's version is newer";
        case MergeReason::storedIsLater:
            return "the host's version is older";
        case MergeReason::sameFile:
            return "both sides have the same file";
        case MergeReason::onlyHostChanged:
            return "only the host has changed the file";
        case MergeReason::onlyStoreChanged:
            return "only the store has changed the file";
        case MergeReason::bothChanged:
            return "both sides have changed the file";
        case MergeReason::hostAlwaysWins:
        case MergeReason::deletedByHost:
        case MergeReason::unknownToDelete:
            break;
    }
    return nullptr;
}

/// What a rehearsal has decided about things, in the model's words.
Decisions decisionsOf(const Rehearsal& rehearsal) {
    Decisions decisions;
    for (const MergeDecision& decision : rehearsal.decisions) {
        if (decision.type != RecordType::thing) continue;
        if (const char* word = modelsWord(decision)) ++decisions[word];
        if (decision.copy && !decision.isCopyNew) {
            ++decisions["the store's version is kept already"];
        }
    }
    return decisions;
}

class Player {
public:
    /// What differs, if anything.
    std::optional<std::string> play(const HistoryStep& step);

private:
    /// What the rehearsal of a request has decided otherwise than the model, if anything.
    std::optional<std::string> rehearsed(const HistoryStep& step,
                                         const std::string& request,
                                         const Outcome& expected);
    std::string root() const { return platform_.folder.path("history"); }

    FakePlatform platform_;
    std::array<LibraryProcess, processCount> processes_ = {LibraryProcess(platform_),
                                                           LibraryProcess(platform_)};
    FolderOnDisk disk_{root()};
    HostFiles files_;
    LibraryModel model_{storePath};
    std::size_t played_ = 0;
};

std::optional<std::string> Player::rehearsed(const HistoryStep& step,
                                             const std::string& request,
                                             const Outcome& expected) {
    // It opens a store of its own, which costs more than the exchange: some of them say enough.
    constexpr std::size_t every = 4;
    if (played_++ % every != 0) return std::nullopt;
    const auto rehearsal =
        processes_[step.process].rehearse(request, platform_.folder.path("rehearsal"));
    const bool isAccepted = rehearsal && !rehearsal->refusal;
    // After a merge that goes well an answer can still fail, when its files are written.
    if (!isAccepted) {
        return expected.isAnswer() ? std::optional<std::string>("the rehearsal refuses it")
                                   : std::nullopt;
    }
    if (!expected.isAnswer()) return std::nullopt;
    const Decisions found = decisionsOf(*rehearsal);
    if (found == expected.decisions) return std::nullopt;
    std::string text = "the rehearsal decides otherwise:";
    for (const auto& [word, times] : found) text += " " + std::to_string(times) + " " + word + ";";
    text += " the model:";
    for (const auto& [word, times] : expected.decisions) {
        text += " " + std::to_string(times) + " " + word + ";";
    }
    return text;
}

std::optional<std::string> Player::play(const HistoryStep& step) {
    if (step.restarts) {
        processes_[step.process].restart();
        model_.restart(step.process);
    }
    platform_.clock->current = Date{step.now};
    for (const FileChange& change : step.files) {
        files_.change(change);
        disk_.change(change);
    }
    const Outcome expected =
        model_.exchange(step.process, JsonValue::parse(step.request.text()), files_, step.now);

    JsonValue request = step.request;
    // The store lies in the group's folder, everything else below the history's own.
    movePaths(request, "/history/store", platform_.groupFolder());
    movePaths(request, std::string(HostFiles::root), root());
    if (auto difference = rehearsed(step, request.text(), expected)) return difference;
    disk_.remember();
    const std::string answer = processes_[step.process].exchangeText(request.text());
    writeDown(request.text(), answer);
    JsonValue response = JsonValue::parse(answer);
    movePaths(response, root(), std::string(HostFiles::root));

    if (auto difference = differenceOf(expected, response)) return difference;
    for (const FileChange& file : expected.written) files_.change(file);
    auto difference = disk_.differenceTo(files_, expected.written);
    disk_.takeOver(expected.written);
    return difference;
}

/// The list of records, or nullptr where a spoilt request has none.
JsonElements* recordsOf(HistoryStep& step) {
    for (auto& [key, value] : *step.request.object()) {
        if (key == "records") return value.array();
    }
    return nullptr;
}

/// Takes every element out of a list of the history that the failure does not need. `list` finds
/// it in a copy of the history, too.
template <typename FindList>
void shrinkList(History& history, FindList list) {
    if (list(history) == nullptr) return;
    for (std::size_t place = list(history)->size(); place-- > 0;) {
        History shorter = history;
        auto* elements = list(shorter);
        elements->erase(elements->begin() + static_cast<std::ptrdiff_t>(place));
        if (play(shorter)) history = std::move(shorter);
    }
}

void shrinkStep(History& history, std::size_t step) {
    shrinkList(history, [=](History& all) { return &all[step].files; });
    shrinkList(history, [=](History& all) { return recordsOf(all[step]); });
    const JsonElements* records = recordsOf(history[step]);
    for (std::size_t i = 0; records != nullptr && i < records->size(); ++i) {
        shrinkList(history, [=](History& all) { return (*recordsOf(all[step]))[i].object(); });
        records = recordsOf(history[step]);
    }
}

}  // namespace

std::optional<Difference> play(const History& history) {
    Player player;
    for (std::size_t step = 0; step < history.size(); ++step) {
        if (auto difference = player.play(history[step])) return Difference{step, *difference};
    }
    return std::nullopt;
}

History shrunk(History history) {
    if (const auto difference = play(history)) history.resize(difference->step + 1);
    // From the end: what is late is more often without consequence.
    for (std::size_t step = history.size(); step-- > 0;) {
        History without = history;
        without.erase(without.begin() + static_cast<std::ptrdiff_t>(step));
        if (play(without)) {
            history = std::move(without);
        } else {
            shrinkStep(history, step);
        }
    }
    return history;
}

}  // namespace kelto::history
