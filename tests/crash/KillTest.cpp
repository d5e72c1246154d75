// SIGKILL at every change that an exchange makes to files, and at any moment.

#include <chrono>
#include <random>
#include <thread>

#include "tests/crash/CrashReport.hpp"
#include "tests/crash/ReferenceStory.hpp"
#include "tests/crash/StoreInspection.hpp"
#include "tests/crash/WatchedHost.hpp"

namespace kelto {

namespace {

/// A process may have had exchanges before the one that kills it.
enum class Process : std::uint8_t { fresh, used };

/// An exchange in which a process is to die.
struct Scene {
    std::string name;
    const ReferenceStep* step;
    Process process;
    bool hasCheckpoint;  ///< What comes after the answer belongs to it.
};

struct Case {
    std::string name;
    const Scene* scene;
    CallKill kill;
};

std::optional<HostAnswer> play(const Scene& scene,
                               const RunFolder& folder,
                               WatchedHost& host,
                               const CallKill& kill) {
    if (scene.process == Process::used) (void)host.ask(folder.emptyRequest());
    host.arm(kill);
    auto answer = host.ask(scene.step->step.text(folder));
    if (answer && scene.hasCheckpoint) host.waitForCheckpoint();
    return answer;
}

/// The kind of each change that is made in a scene, the first one at place 1.
std::vector<call_kind> changesOf(const Scene& scene) {
    const RunFolder folder;
    folder.copyFrom(scene.step->worldBefore);
    WatchedHost host(folder);
    (void)play(scene, folder, host, CallKill());
    std::vector<call_kind> changes{CALL_NONE};
    for (std::uint64_t call = 1; call <= host.calls(); ++call) {
        if (host.kindOf(call) <= CALL_LAST_CHANGE) changes.push_back(host.kindOf(call));
    }
    return changes;
}

std::vector<Case> casesOf(const Scene& scene) {
    std::vector<Case> cases;
    const auto changes = changesOf(scene);
    for (std::uint64_t change = 1; change < changes.size(); ++change) {
        const std::string place = scene.name + " change " + std::to_string(change);
        cases.push_back({place + " before", &scene, {change, false}});
        if (changes[change] == CALL_WRITE)
            cases.push_back({place + " half", &scene, {change, true}});
    }
    return cases;
}

void killAt(const Scene& scene, const CallKill& kill, CrashReport& report) {
    const RunFolder folder;
    folder.copyFrom(scene.step->worldBefore);
    WatchedHost host(folder);
    const auto answer = play(scene, folder, host, kill);
    const bool died = host.hasHappened();
    if (answer && folder.withoutPaths(answer->text) != scene.step->after) {
        throw CrashFinding("answered with something else: " + answer->text);
    }
    if (answer) (void)host.wait();
    const bool isSaved = requireRecovery(folder, *scene.step);
    if (answer && !isSaved) throw CrashFinding("what was answered is not there");
    report.count(!died ? "places that were not reached again"
                       : (answer ? "kills after the answer, in a checkpoint"
                                 : "kills at a numbered change"));
    if (!answer) report.count(isSaved ? "found the exchange saved" : "found the library as before");
}

std::vector<Scene> scenesOf(const ReferenceStory& story,
                            const std::string& name,
                            bool hasCheckpoint) {
    std::vector<Scene> scenes;
    for (std::size_t i = 0; i < story.steps().size(); ++i) {
        const std::string step = name + std::to_string(i + 1);
        scenes.push_back({step + " fresh", &story.steps()[i], Process::fresh, hasCheckpoint});
        scenes.push_back({step + " used", &story.steps()[i], Process::used, hasCheckpoint});
    }
    return scenes;
}

/// All places at which the processes can die, or a sample of them.
void enumerate(const std::vector<Scene>& scenes,
               const Effort::Sample& sample,
               CrashReport& report) {
    std::vector<Case> cases;
    for (const Scene& scene : scenes) {
        for (Case& next : casesOf(scene)) cases.push_back(std::move(next));
    }
    report.say(std::to_string(cases.size()) + " places at which one of " +
               std::to_string(scenes.size()) + " exchanges can be killed");
    const std::size_t stride = report.effort().stride(cases.size(), sample);
    for (std::size_t i = 0; i < cases.size(); i += stride) {
        report.run(cases[i].name, [&] { killAt(*cases[i].scene, cases[i].kill, report); });
    }
}

/// One library that lives on from kill to kill, beside one that nobody kills.
class LongLife {
public:
    LongLife(CrashReport& report, std::uint64_t seed)
        : report_(report), dice_(seed), story_(seed), untouched_(plainHost(reference_)) {
        before_ = reference_.withoutPaths(untouched_.ask(reference_.emptyRequest()).text);
    }

    /// One step, killed once at a random change or moment, or not at all when it is too quick.
    void step() {
        const StoryStep step = story_.next();
        const std::string after =
            reference_.withoutPaths(untouched_.ask(step.text(reference_)).text);
        const bool byTime = dice_() % 3 == 0;
        if (!host_) host_.emplace(folder_);
        const auto answer = byTime ? killedByTime(step) : killedByNumber(step);
        if (answer && folder_.withoutPaths(answer->text) != after) {
            throw CrashFinding("answered with something else: " + answer->text);
        }
        if (!answer || byTime) {
            const std::string found = recovered();
            if (found != after && (answer || found != before_)) {
                throw CrashFinding("neither what was before nor what should come: " + found);
            }
            report_.count(byTime ? "kills at a random moment" : "kills at a random change");
            report_.count(found == after ? "found the exchange saved"
                                         : "found the library as before");
            requireReceived(folder_, found == after ? step.received : received_);
            const auto repeated = host_->ask(step.text(folder_));
            if (!repeated || folder_.withoutPaths(repeated->text) != after) {
                throw CrashFinding("the repeated exchange fails");
            }
        }
        requireReceived(folder_, step.received);
        step.tidy(folder_);
        step.tidy(reference_);
        before_ = after;
        received_ = step.received;
    }

private:
    std::optional<HostAnswer> killedByNumber(const StoryStep& step) {
        host_->arm({.change = 1 + dice_() % 60, .inHalf = dice_() % 2 == 0});
        auto answer = host_->ask(step.text(folder_));
        if (answer) host_->disarm();
        return answer;
    }

    std::optional<HostAnswer> killedByTime(const StoryStep& step) {
        host_->disarm();
        host_->send(step.text(folder_));
        std::this_thread::sleep_for(std::chrono::microseconds(dice_() % 15'000));
        return host_->killAndReadAnswer();
    }

    /// What the next process finds.
    std::string recovered() {
        host_.emplace(folder_);
        const auto answer = host_->ask(folder_.emptyRequest());
        if (!answer) throw CrashFinding("a host that nobody has killed has died");
        requireSoundStore(folder_);
        requireNoStrays(folder_);
        return folder_.withoutPaths(answer->text);
    }

    CrashReport& report_;
    std::mt19937_64 dice_;
    Story story_;
    RunFolder reference_;
    RunFolder folder_;
    HostProcess untouched_;
    std::optional<WatchedHost> host_;
    std::string before_;
    std::map<std::string, PayloadNumber> received_;
};

}  // namespace

void testKills(CrashReport& report) {
    const std::uint64_t seed = report.effort().seed;
    const ReferenceStory story(seed, Story::scriptedSteps);
    enumerate(scenesOf(story, "step ", false), {.shortForm = 24, .longForm = 0}, report);

    // Thousands of pages are written one by one: a sample of them.
    const ReferenceStory longLog(seed, 2, Story::Kind::longLog);
    std::vector<Scene> scenes = scenesOf(longLog, "long log ", true);
    if (!report.effort().isLong) scenes.resize(1);
    enumerate(scenes, {.shortForm = 2, .longForm = 300}, report);

    const unsigned steps = report.effort().isLong ? 1200 : 16;
    LongLife life(report, seed);
    // One after the other: a step's case stands for all before it, so that --only cannot choose.
    report.run("long life", [&] {
        for (unsigned i = 0; i < steps; ++i) {
            life.step();
            report.count("steps of the long life");
        }
    });
}

}  // namespace kelto
