// A host whose process ends while it is busy: static objects go on the main thread, and meanwhile
// one thread is in exchanges and another one calls in. It ends well when both were still at it
// after all of them have gone.
//
//   leaving_host FOLDER
//   leaving_host FOLDER callback    the same, but it is a callback that ends the process
//
// FOLDER is for the exchange; XDG_DATA_HOME names that of the library.

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <glib.h>
#include <unistd.h>

#include "kelto_apple.h"

namespace {

std::atomic<int> answers = 0;
std::atomic<int> calls = 0;
bool endsInCallback = false;

void answered(std::intptr_t, const char* response) {
    if (std::strstr(response, "\"error\"") == nullptr) {
        ++answers;
        if (endsInCallback && answers == 3) std::exit(EXIT_SUCCESS);
        return;
    }
    std::fprintf(stderr, "leaving_host: %s\n", response);
    _exit(EXIT_FAILURE);
}

/// Texts in several letters, longer than what is looked at letter by letter, and a payload; another
/// thing each time, so that all of it is merged, saved and exported.
std::string request(const std::string& folder, int number) {
    std::array<char, 13> digits{};
    std::snprintf(digits.data(), digits.size(), "%012d", number);
    const std::string payload = folder + "/payload";
    std::ofstream(payload) << std::string(300'000, 'p') << number;
    char* group = kelto_apple_group_path();
    std::string text = R"({"version":1,"storePath":")" + std::string(group) +
                       R"(/Library/Kelto.store","directory":")" + folder + R"(","records":[)";
    kelto_apple_free(group);
    const std::string title = "Größe Ångström 日本語 " + std::to_string(number);
    const std::string id = R"("uuid":"7f0c9a52-6d1e-4b3f-8a27-)" + std::string(digits.data()) + '"';
    text += R"({"recordType":"Tag",)" + id + R"(,"name":")" + title + R"("},)";
    text += R"({"recordType":"Project",)" + id + R"(,"name":")" + title + R"("},)";
    text += R"({"recordType":"Thing",)" + id + R"(,"kind":"image","title":")" + title +
            R"(","createdAt":1760000000000,"updatedAt":1760000000000,"data":")" + payload +
            R"("}]})";
    return text;
}

void exchange(const std::string& folder) {
    for (int number = 1;; ++number) {
        const int before = answers;
        kelto_apple_exchange(request(folder, number).c_str(), 0, answered);
        while (answers == before) g_main_context_iteration(nullptr, TRUE);
    }
}

void callIn() {
    const std::string none = R"({"version":1,"none":")" + std::string(2'000'000, 'x') + R"("})";
    for (;;) {
        kelto_apple_exchange(none.c_str(), 0, nullptr);
        ++calls;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void await(const std::atomic<int>& count, int wanted) {
    for (int milliseconds = 0; count < wanted; ++milliseconds) {
        if (milliseconds == 15'000) {
            std::fprintf(stderr, "leaving_host: the process ends, and the others stand still\n");
            _exit(EXIT_FAILURE);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Registered first, so called last.
void whenAllIsGone() {
    if (!endsInCallback) await(answers, answers + 5);
    await(calls, calls + 5);
    std::puts("still answered");
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2) return EXIT_FAILURE;
    endsInCallback = count > 2;
    std::atexit(whenAllIsGone);
    std::thread(exchange, std::string(arguments[1])).detach();
    std::thread(callIn).detach();
    if (endsInCallback) std::this_thread::sleep_for(std::chrono::hours(1));
    await(answers, 3);
    await(calls, 3);
    return EXIT_SUCCESS;
}
