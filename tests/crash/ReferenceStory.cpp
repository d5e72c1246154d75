#include "tests/crash/ReferenceStory.hpp"

#include <filesystem>

#include "tests/crash/StoreInspection.hpp"
#include "tests/crash/WatchedHost.hpp"

namespace kelto {

namespace {

std::string shortened(const std::string& text) {
    constexpr std::size_t most = 300;
    return text.size() <= most ? text : text.substr(0, most) + "…";
}

void requireAnswer(const std::string& answer, const std::string& expected) {
    if (answer == expected) return;
    throw CrashFinding("the repeated exchange answers “" + shortened(answer) + "” instead of “" +
                       shortened(expected) + "”");
}

std::string emptySnapshot() {
    const RunFolder empty;
    return snapshotOf(empty);
}

}  // namespace

ReferenceStory::ReferenceStory(std::uint64_t seed, unsigned steps, Story::Kind kind) {
    Story story(seed, kind);
    std::string before = emptySnapshot();
    std::map<std::string, PayloadNumber> received;
    for (unsigned i = 0; i < steps; ++i) {
        ReferenceStep next{
            story.next(), folder_.beside("world-" + std::to_string(i)), before, {}, received};
        std::filesystem::copy(
            folder_.world(), next.worldBefore, std::filesystem::copy_options::recursive);
        HostProcess host(plainHost(folder_));
        next.after = folder_.withoutPaths(host.ask(next.step.text(folder_)).text);
        (void)host.wait();
        if (next.after.find("\"error\"") != std::string::npos) {
            throw CrashFinding("a step without faults is answered with " + next.after);
        }
        requireReceived(folder_, next.step.received);
        before = next.after;
        received = next.step.received;
        steps_.push_back(std::move(next));
    }
    requireSoundStore(folder_);
}

bool requireRecovery(const RunFolder& folder, const ReferenceStep& step) {
    HostProcess host(plainHost(folder));
    const std::string found = folder.withoutPaths(
        host.ask(RequestBuilder().text(folder.store(), folder.exchange())).text);
    const bool isSaved = found == step.after;
    if (!isSaved && found != step.before) {
        throw CrashFinding("neither what was before nor what should come: " + shortened(found));
    }
    requireSoundStore(folder);
    requireNoStrays(folder);
    requireReceived(folder, isSaved ? step.step.received : step.receivedBefore);
    requireAnswer(folder.withoutPaths(host.ask(step.step.text(folder)).text), step.after);
    if (const HostEnd end = host.wait(); end != HostEnd()) {
        throw CrashFinding("the host that came after ends badly: " + host.standardError());
    }
    requireSoundStore(folder);
    requireNoStrays(folder);
    requireReceived(folder, step.step.received);
    return isSaved;
}

}  // namespace kelto
