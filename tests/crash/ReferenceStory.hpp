#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/crash/RunFolder.hpp"
#include "tests/crash/Story.hpp"

namespace kelto {

/// One step of a story as it goes when nothing happens: what stood before, what stands after it.
struct ReferenceStep {
    StoryStep step;
    std::string worldBefore;  ///< A folder to copy from.
    std::string before;       ///< The snapshot, without paths.
    std::string after;
    std::map<std::string, PayloadNumber> receivedBefore;
};

/// A story played without faults, each step by a process of its own.
class ReferenceStory {
public:
    ReferenceStory(std::uint64_t seed, unsigned steps, Story::Kind kind = Story::Kind::mixed);
    [[nodiscard]] const std::vector<ReferenceStep>& steps() const { return steps_; }

private:
    RunFolder folder_;
    std::vector<ReferenceStep> steps_;
};

/// A host comes after a crash in the middle of `step`: it finds the library as it was before or
/// after, whole and swept, sends the step again, and has what it wanted. Throws a CrashFinding.
/// Answers whether the step had been saved.
bool requireRecovery(const RunFolder& folder, const ReferenceStep& step);

}  // namespace kelto
