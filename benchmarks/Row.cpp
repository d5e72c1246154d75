#include "benchmarks/Row.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace kelto::bench {

namespace {

/// Of an even number of samples the mean of the two in the middle.
template <typename Value, typename Projection>
Value median(const std::vector<const Sample*>& samples, Projection projection) {
    std::vector<Value> values;
    values.reserve(samples.size());
    for (const Sample* sample : samples) values.push_back(projection(*sample));
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    if (values.size() % 2 == 1) return values[middle];
    return (values[middle - 1] + values[middle]) / 2;
}

std::vector<Stage> stagesOf(const std::vector<const Sample*>& samples) {
    std::vector<Stage> stages = samples.front()->stages;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        stages[i].time = Milliseconds(
            median<double>(samples, [i](const Sample& s) { return s.stages.at(i).time.count(); }));
    }
    return stages;
}

Row rowOf(const std::vector<const Sample*>& samples) {
    Row row;
    row.workload = samples.front()->workload;
    row.items = samples.front()->items;
    row.runs = samples.size();
    row.milliseconds = median<double>(samples, [](const Sample& s) { return s.cost.time.count(); });
    row.floorMilliseconds =
        median<double>(samples, [](const Sample& s) { return s.floor.count(); });
    row.unchangedMilliseconds =
        median<double>(samples, [](const Sample& s) { return s.unchanged.count(); });
    row.requestBytes = median<std::size_t>(samples, [](const Sample& s) { return s.requestBytes; });
    row.responseBytes =
        median<std::size_t>(samples, [](const Sample& s) { return s.responseBytes; });
    row.peakBytes = median<std::size_t>(samples, [](const Sample& s) { return s.cost.peakBytes; });
    row.residentBytes =
        median<std::size_t>(samples, [](const Sample& s) { return s.residentBytes; });
    row.idleBytes = median<std::size_t>(samples, [](const Sample& s) { return s.idleBytes; });
    row.fastestMilliseconds = row.milliseconds;
    row.fastestFloorMilliseconds = row.floorMilliseconds;
    for (const Sample* sample : samples) {
        row.fastestMilliseconds = std::min(row.fastestMilliseconds, sample->cost.time.count());
        row.fastestFloorMilliseconds =
            std::min(row.fastestFloorMilliseconds, sample->floor.count());
        for (std::size_t kind = 0; kind < workKindCount; ++kind) {
            row.work.amounts[kind] =
                std::max(row.work.amounts[kind], sample->cost.work.amounts[kind]);
        }
    }
    row.stages = stagesOf(samples);
    return row;
}

Goal ratioGoal(const Row& row, const std::string& text, double limit) {
    return {text, row.ratio() <= limit};
}

Goal unchangedGoal(const Row& row) {
    constexpr double frame = 16;
    constexpr std::size_t itemsInAFrame = 10'000;
    Goal goal = ratioGoal(row, "<= 1.5, no work", 1.5);
    if (row.items == itemsInAFrame) {
        goal.text = "<= 1.5, <= 16 ms, no work";
        goal.isMet = goal.isMet && row.milliseconds <= frame;
    }
    for (const Work kind : {Work::payloadBytesRead, Work::rowsWritten, Work::filesWritten}) {
        goal.isMet = goal.isMet && row.work[kind] == 0;
    }
    return goal;
}

Goal residentGoal(const Row& row) {
    const double limit = 2.5 * static_cast<double>(row.requestBytes) + 30e6;
    return {"<= 2.5 x request + 30 MB", static_cast<double>(row.residentBytes) <= limit};
}

Goal largeGoal(const Row& row) {
    constexpr std::size_t limit = std::size_t{64} << 20U;
    const bool isSmall = row.peakBytes <= row.idleBytes + limit;
    return {"<= 1.25 (0.8 of the speed), <= 64 MiB", row.ratio() <= 1 / 0.8 && isSmall};
}

}  // namespace

std::vector<Row> sumUp(const std::vector<Sample>& samples) {
    std::map<std::pair<std::string, std::size_t>, std::vector<const Sample*>> groups;
    for (const Sample& sample : samples) {
        groups[{sample.workload, sample.items}].push_back(&sample);
    }
    std::vector<Row> rows;
    rows.reserve(groups.size());
    for (const auto& [key, group] : groups) rows.push_back(rowOf(group));
    return rows;
}

std::optional<Goal> goalOf(const Row& row) {
    if (row.workload == "W1") return unchangedGoal(row);
    if (row.workload == "W2") return ratioGoal(row, "<= 1.5", 1.5);
    if (row.workload == "W3") return ratioGoal(row, "<= 1.3", 1.3);
    if (row.workload == "W4") return ratioGoal(row, "<= 2", 2);
    if (row.workload == "W5") return ratioGoal(row, "<= 1.5", 1.5);
    if (row.workload == "W6") {
        return Goal{"<= W1 + 2 ms", row.milliseconds <= row.unchangedMilliseconds + 2};
    }
    if (row.workload == "W7") return largeGoal(row);
    if (row.workload == "memory") return residentGoal(row);
    return std::nullopt;
}

}  // namespace kelto::bench
