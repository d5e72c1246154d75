// What is far too large, given to the library on purpose: an error or an answer, within a bound of
// memory that depends on nothing but the size that was given.
//
//   hostile_sizes [--part N] [--only NAME]
//       --part N   every size divided by N
//
// Prints one line for each case and ends with 1 when one of them breaks its promise.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

// The sanitizers' own memory would be measured, not the library's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryMeasured = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool isMemoryMeasured = false;
#else
constexpr bool isMemoryMeasured = true;
#endif
#else
constexpr bool isMemoryMeasured = true;
#endif

constexpr double megabyte = 1e6;
/// What a process takes that exchanges next to nothing.
constexpr double baseMegabytes = 60;

struct Case {
    const char* name;
    double megabytes;          ///< What is given: of request text, or of a file.
    double memoryPerMegabyte;  ///< Of the process, for each megabyte that is given.
    const char* expected;      ///< How the answer begins.
    /// Makes the request for so many bytes.
    std::function<std::string(TestLibrary&, std::size_t)> request;
};

std::string head(const TestLibrary& library) {
    return R"({"version":1,"storePath":")" + library.storePath() + R"(","directory":")" +
           library.exchangeFolder() + R"(","records":[)";
}

std::string repeated(std::string_view piece, std::size_t size) {
    std::string text;
    text.reserve(size + piece.size());
    while (text.size() < size) text += piece;
    return text;
}

/// As many as fit, each made by its number.
std::string records(std::size_t size, std::string (*record)(unsigned)) {
    std::string text;
    text.reserve(size + 1000);
    for (unsigned number = 0; text.size() < size; ++number) text += record(number) + ",";
    text.pop_back();
    return text;
}

std::string thingWithText(const TestLibrary& library, const std::string& key, std::string value) {
    return head(library) + R"({"recordType":"Thing","uuid":")" + identifier(1) + R"(",")" + key +
           R"(":")" + std::move(value) + "\"}]}";
}

constexpr const char* answer = R"({"directory")";
constexpr const char* error = R"({"version":1,"error")";

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"deep-arrays",
         1000,
         3,
         error,
         [](auto& library, std::size_t size) {
             return head(library) + "],\"extra\":" + std::string(size, '[');
         }},
        {"flat-arrays",
         1000,
         3,
         answer,
         [](auto& library, std::size_t size) {
             return head(library) + "],\"extra\":[" + repeated("[[[]],[]],", size) + "[]]}";
         }},
        {"deep-objects",
         1000,
         3,
         error,
         [](auto& library, std::size_t size) {
             return head(library) + "],\"extra\":" + repeated(R"({"a":)", size);
         }},
        {"empty-records",
         30,
         220,
         error,
         [](auto& library, std::size_t size) {
             return head(library) + repeated("{},", size) + "{}]}";
         }},
        {"small-tags",
         350,
         20,
         answer,
         [](auto& library, std::size_t size) {
             return head(library) +
                    records(size,
                            [](unsigned number) {
                                return R"({"recordType":"Tag","uuid":")" + identifier(number) +
                                       "\"}";
                            }) +
                    "]}";
         }},
        {"long-text",
         200,
         8,
         answer,
         [](auto& library, std::size_t size) {
             return thingWithText(library, "content", std::string(size, 'x'));
         }},
        {"long-escaped-text",
         200,
         8,
         answer,
         [](auto& library, std::size_t size) {
             return thingWithText(library, "title", repeated("\\u0001", size));
         }},
        {"long-identifier",
         200,
         4,
         error,
         [](auto& library, std::size_t size) {
             return head(library) + R"({"recordType":"Tag","uuid":")" + std::string(size, 'a') +
                    "\"}]}";
         }},
        {"long-path",
         200,
         6,
         error,
         [](auto& library, std::size_t size) {
             return thingWithText(library, "data", library.exchangeFolder() + repeated("/x", size));
         }},
        {"long-number",
         200,
         4,
         answer,
         [](auto& library, std::size_t size) {
             return head(library) + R"({"recordType":"Thing","uuid":")" + identifier(1) +
                    R"(","fileSize":)" + std::string(size, '9') + "}]}";
         }},
        {"many-tags-of-a-thing",
         200,
         8,
         answer,
         [](auto& library, std::size_t size) {
             return head(library) + R"({"recordType":"Thing","uuid":")" + identifier(1) +
                    R"(","tags":[)" + repeated("\"" + identifier(2) + "\",", size) + "\"\"]}]}";
         }},
        {"repeated-key",
         200,
         4,
         answer,
         [](auto& library, std::size_t size) {
             return head(library) + R"({"recordType":"Tag","uuid":")" + identifier(1) + "\"," +
                    repeated(R"("name":"x",)", size) + R"("name":"y"}]})";
         }},
        {"sparse-file",
         4000,
         0.02,
         answer,
         [](auto& library, std::size_t size) {
             const std::string path = library.putFile("sparse", "");
             std::filesystem::resize_file(path, size);
             return thingWithText(library, "data", path);
         }},
        {"too-long-a-request",
         4400,
         3,
         error,
         [](auto& library, std::size_t size) {
             return head(library) + "],\"extra\":\"" + std::string(size, 'x') + "\"}";
         }},
    };
    return all;
}

/// In a process of its own: 0 when the answer is what it should be.
int runCase(const Case& given, std::size_t size) {
    TestLibrary library;
    const std::string text = library.exchangeText(given.request(library, size));
    const bool isExpected = text.starts_with(given.expected);
    if (!isExpected) std::printf("    it answers: %.300s\n", text.c_str());
    // Whatever it was, the next exchange goes on.
    const bool goesOn = library.exchangeText(head(library) + "]}").starts_with(answer);
    if (!goesOn) std::printf("    the next exchange fails\n");
    return isExpected && goesOn ? EXIT_SUCCESS : EXIT_FAILURE;
}

bool passes(const Case& given, double part) {
    // The one limit that is no matter of proportion.
    if (part > 1 && given.name == std::string_view("too-long-a-request")) return true;
    const double megabytes = given.megabytes / part;
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        const int code = runCase(given, static_cast<std::size_t>(megabytes * megabyte));
        std::fflush(stdout);
        ::_exit(code);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child) return false;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const double memory = static_cast<double>(usage.ru_maxrss) * 1024 / megabyte;
    const double bound = baseMegabytes + megabytes * given.memoryPerMegabyte;
    const bool isWell = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    const bool isBounded = !isMemoryMeasured || memory <= bound;
    std::printf("%-22s %8.0f MB given %8.0f MB of memory (bound %6.0f) %7.1f s  %s\n",
                given.name,
                megabytes,
                memory,
                bound,
                taken.count(),
                isWell && isBounded ? "well" : (isWell ? "TOO MUCH MEMORY" : "FAILED"));
    std::fflush(stdout);
    return isWell && isBounded;
}

}  // namespace
}  // namespace kelto

int main(int count, char** arguments) {
    double part = 1;
    std::string_view only;
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::string_view(arguments[i]) == "--part") part = std::atof(arguments[i + 1]);
        if (std::string_view(arguments[i]) == "--only") only = arguments[i + 1];
    }
    bool areAllWell = true;
    for (const kelto::Case& each : kelto::cases()) {
        if (only.empty() || only == each.name) areAllWell &= kelto::passes(each, part);
    }
    return areAllWell ? EXIT_SUCCESS : EXIT_FAILURE;
}
