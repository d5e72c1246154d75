// The power goes after any change that a host's exchanges make to files. What had not been flushed
// is lost, or a part of it, or the last write is torn.

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/crash/CallJournal.hpp"
#include "tests/crash/CrashReport.hpp"
#include "tests/crash/DiskModel.hpp"
#include "tests/crash/ReferenceStory.hpp"
#include "tests/crash/StoreInspection.hpp"
#include "tests/crash/WatchedHost.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

/// A story as it was written down, and where in the journal each of its answers came at the latest.
struct RecordedStory {
    std::vector<JournalEntry> journal;
    std::vector<std::uint64_t> answeredAt;
};

/// Two processes, one after the other, with no end that closes anything.
RecordedStory record(const RunFolder& folder, const ReferenceStory& story) {
    RecordedStory recorded;
    const std::string journalPath = WatchedHost::journalPath(folder);
    const std::size_t half = story.steps().size() / 2;
    std::optional<WatchedHost> host;
    for (std::size_t i = 0; i < story.steps().size(); ++i) {
        if (i == 0) host.emplace(folder, WatchedHost::Journal::begun);
        if (i == half) host.emplace(folder, WatchedHost::Journal::continued);
        const ReferenceStep& step = story.steps()[i];
        host->arm();
        const auto answer = host->ask(step.step.text(folder));
        if (!answer || folder.withoutPaths(answer->text) != step.after) {
            throw CrashFinding("a step without faults is answered otherwise");
        }
        recorded.answeredAt.push_back(std::filesystem::file_size(journalPath));
        host->waitForCheckpoint();
    }
    (void)host->wait();
    recorded.journal = readJournal(journalPath);
    return recorded;
}

/// How many steps were answered before that place of the journal.
std::size_t answeredBefore(const RecordedStory& recorded, std::uint64_t place) {
    std::size_t answered = 0;
    while (answered < recorded.answeredAt.size() && recorded.answeredAt[answered] <= place) {
        ++answered;
    }
    return answered;
}

constexpr std::pair<Loss, const char*> losses[] = {
    {Loss::everything, "all that was not flushed is lost"},
    {Loss::some, "some of it is lost"},
    {Loss::tail, "the tail of it is lost"},
    {Loss::nothing, "none of it is lost"},
};

/// The host's own files are not the library's to flush: they are put back as they were.
void restoreHostFiles(const RunFolder& from, const RunFolder& to) {
    std::filesystem::create_directories(to.exchange());
    for (const std::string& name : namesIn(from.exchange())) {
        if (!name.starts_with("in-")) continue;
        std::filesystem::copy_file(from.exchange() + "/" + name,
                                   to.exchange() + "/" + name,
                                   std::filesystem::copy_options::overwrite_existing);
    }
}

/// After the cut, a host finds what was answered, or one step more, and goes on.
void requireAnswered(const RunFolder& after,
                     const ReferenceStory& story,
                     std::size_t answered,
                     CrashReport& report) {
    const auto& steps = story.steps();
    if (answered < steps.size()) {
        const bool isSaved = requireRecovery(after, steps[answered]);
        report.count(isSaved ? "found the exchange saved" : "found the library as before");
        return;
    }
    // Nothing was under way: the last step may only be found again.
    if (!requireRecovery(after, steps.back())) throw CrashFinding("what was answered is lost");
    report.count("found the last answer");
}

/// A name for a place in the journal, for people.
std::string placeName(const JournalEntry& entry, std::size_t number, const RunFolder& folder) {
    return "after change " + std::to_string(number) + " (" + std::string(nameOf(entry.kind)) + " " +
           entry.path.substr(folder.world().size()) + ")";
}

void cutEverywhere(const std::string& name,
                   const ReferenceStory& story,
                   const Effort::Sample& sample,
                   CrashReport& report) {
    const RunFolder folder;
    DiskModel disk(folder.world());
    const RecordedStory recorded = record(folder, story);
    report.say(name + ": " + std::to_string(recorded.journal.size()) + " changes to files in " +
               std::to_string(story.steps().size()) + " exchanges");
    std::mt19937_64 dice(report.effort().seed);
    const std::size_t stride = report.effort().stride(recorded.journal.size(), sample);
    for (std::size_t i = 0; i < recorded.journal.size(); ++i) {
        const JournalEntry& entry = recorded.journal[i];
        disk.apply(entry);
        if (i % stride != 0) continue;
        const std::size_t answered = answeredBefore(recorded, entry.end);
        for (const auto& [loss, words] : losses) {
            const std::uint64_t seed = dice();
            report.run(name + " " + placeName(entry, i + 1, folder) + ", " + words, [&] {
                const RunFolder after;
                std::mt19937_64 luck(seed);
                disk.writeAfterCut(after.world(), loss, luck);
                restoreHostFiles(folder, after);
                requireAnswered(after, story, answered, report);
                report.count(std::string("cuts after which ") + words);
            });
        }
    }
}

}  // namespace

void testPowerCuts(CrashReport& report) {
    const std::uint64_t seed = report.effort().seed;
    const ReferenceStory story(seed, Story::scriptedSteps);
    cutEverywhere("story", story, {.shortForm = 6, .longForm = 0}, report);
    // Thousands of pages, into the log and from there into the database: a sample of them.
    const ReferenceStory longLog(seed, 3, Story::Kind::longLog);
    cutEverywhere("long log", longLog, {.shortForm = 2, .longForm = 100}, report);
}

}  // namespace kelto
