#include "benchmarks/Sample.hpp"

#include <cstdio>

#include "kelto/foundation/Json.hpp"

namespace kelto::bench {

namespace {

JsonValue number(std::size_t value) {
    return static_cast<std::int64_t>(value);
}

double real(const JsonValue& sample, std::string_view key) {
    return *sample.member(key)->number()->real();
}

std::size_t whole(const JsonValue& sample, std::string_view key) {
    return static_cast<std::size_t>(*sample.member(key)->number()->integer());
}

}  // namespace

std::string textOf(const Sample& sample) {
    JsonElements work;
    for (const std::uint64_t amount : sample.cost.work.amounts) work.push_back(number(amount));
    JsonMembers stages;
    for (const Stage& stage : sample.stages) stages.emplace_back(stage.name, stage.time.count());
    const JsonMembers members{{"workload", sample.workload},
                              {"items", number(sample.items)},
                              {"milliseconds", sample.cost.time.count()},
                              {"floor", sample.floor.count()},
                              {"unchanged", sample.unchanged.count()},
                              {"peak", number(sample.cost.peakBytes)},
                              {"request", number(sample.requestBytes)},
                              {"response", number(sample.responseBytes)},
                              {"resident", number(sample.residentBytes)},
                              {"idle", number(sample.idleBytes)},
                              {"work", work},
                              {"stages", stages}};
    return JsonValue(members).text();
}

Sample readSample(std::string_view line) {
    const JsonValue read = JsonValue::parse(line);
    Sample sample;
    sample.workload = *read.member("workload")->string();
    sample.items = whole(read, "items");
    sample.cost.time = Milliseconds(real(read, "milliseconds"));
    sample.floor = Milliseconds(real(read, "floor"));
    sample.unchanged = Milliseconds(real(read, "unchanged"));
    sample.cost.peakBytes = whole(read, "peak");
    sample.requestBytes = whole(read, "request");
    sample.responseBytes = whole(read, "response");
    sample.residentBytes = whole(read, "resident");
    sample.idleBytes = whole(read, "idle");
    for (const auto& [name, time] : *read.member("stages")->object()) {
        sample.stages.push_back({name, Milliseconds(*time.number()->real())});
    }
    std::size_t kind = 0;
    for (const JsonValue& amount : *read.member("work")->array()) {
        sample.cost.work.amounts[kind++] = static_cast<std::uint64_t>(*amount.number()->integer());
    }
    return sample;
}

void tell(const Sample& sample) {
    std::puts(textOf(sample).c_str());
    std::fflush(stdout);
}

}  // namespace kelto::bench
