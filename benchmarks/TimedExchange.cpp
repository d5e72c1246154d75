#include "benchmarks/TimedExchange.hpp"

#include <stdexcept>

#include <glib.h>

#include "benchmarks/ProcessMemory.hpp"
#include "kelto_apple.h"

namespace kelto::bench {

namespace {

constexpr std::string_view errorBeginning = R"({"version":1,"error")";

struct Answer {
    std::string* response = nullptr;  ///< nullptr: not kept
    std::string error;
    Milliseconds hostTime{};
    bool isThere = false;
};

void receive(std::intptr_t context, const char* response) {
    const auto start = Clock::now();
    // The context is a number so that hosts in any language can pass what they like.
    auto& answer = *reinterpret_cast<Answer*>(context);  // NOLINT(performance-no-int-to-ptr)
    answer.isThere = true;
    if (std::string_view(response).starts_with(errorBeginning)) {
        answer.error = response;
    } else if (answer.response != nullptr) {
        *answer.response = response;
    }
    answer.hostTime = Clock::now() - start;
}

ExchangeCost run(const char* request, std::string* response) {
    Answer answer;
    answer.response = response;
    resetPeak();
    ExchangeCost cost;
    const WorkCounters before = workSoFar();
    const auto start = Clock::now();
    kelto_apple_exchange(request, reinterpret_cast<std::intptr_t>(&answer), receive);
    while (!answer.isThere) g_main_context_iteration(nullptr, TRUE);
    cost.time = Clock::now() - start - answer.hostTime;
    cost.work = workSoFar() - before;
    cost.peakBytes = peakBytes();
    if (!answer.error.empty()) throw std::runtime_error(answer.error);
    return cost;
}

}  // namespace

ExchangeCost runExchange(const char* request, std::string& response) {
    return run(request, &response);
}

ExchangeCost runExchangeAndForget(const char* request) {
    return run(request, nullptr);
}

std::string storePath() {
    char* group = kelto_apple_group_path();
    if (group == nullptr) throw std::runtime_error("there is no App Group container");
    std::string path = std::string(group) + "/Library/Kelto.store";
    kelto_apple_free(group);
    return path;
}

}  // namespace kelto::bench
