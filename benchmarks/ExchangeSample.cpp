#include "benchmarks/ExchangeSample.hpp"

#include <cstdio>
#include <cstdlib>

#include <glib.h>
#include <sys/resource.h>

#include "kelto/foundation/Json.hpp"
#include "kelto_apple.h"

namespace kelto::bench {

namespace {

struct Answer {
    std::string text;
    bool isThere = false;
};

void receive(std::intptr_t context, const char* response) {
    auto& answer = *reinterpret_cast<Answer*>(context);
    answer.text = response;
    answer.isThere = true;
}

[[noreturn]] void refuse(const std::string& why) {
    std::fprintf(stderr, "kelto_bench: %s\n", why.c_str());
    std::exit(1);
}

}  // namespace

std::string exchange(const std::string& request, Milliseconds& time) {
    Answer answer;
    const auto start = std::chrono::steady_clock::now();
    kelto_apple_exchange(request.c_str(), reinterpret_cast<std::intptr_t>(&answer), receive);
    while (!answer.isThere) g_main_context_iteration(nullptr, TRUE);
    time = std::chrono::steady_clock::now() - start;
    if (answer.text.starts_with(R"({"version":1,"error")")) refuse(answer.text);
    return std::move(answer.text);
}

void verify(const std::string& response, std::size_t records, std::size_t edited) {
    const JsonValue snapshot = JsonValue::parse(response);
    const JsonElements& all = *snapshot.member("records")->array();
    if (all.size() != records) refuse("the response lacks records");
    std::size_t found = 0;
    for (const JsonValue& record : all) {
        const JsonValue* title = record.member("title");
        if (title != nullptr && title->string()->ends_with('!')) ++found;
    }
    if (found < edited) refuse("the response lacks edits");
}

std::string storePath() {
    char* group = kelto_apple_group_path();
    if (group == nullptr) refuse("there is no App Group container");
    std::string path = std::string(group) + "/Library/Kelto.store";
    kelto_apple_free(group);
    return path;
}

std::size_t peakMemory() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace kelto::bench
