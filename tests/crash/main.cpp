// What a kill, a power cut, a failing system call and a full disk leave of a library.
//
//   crash_tests kill|power-cut|faults|disk [--long] [--seed N] [--only CASE]

#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <sys/statvfs.h>
#include <unistd.h>

#include "tests/crash/CrashReport.hpp"

namespace {

using kelto::CrashReport;

const std::map<std::string, std::function<void(CrashReport&)>> tests{
    {"kill", kelto::testKills},
    {"power-cut", kelto::testPowerCuts},
    {"faults", kelto::testFaults},
    {"disk", kelto::testFullDisks},
};

/// What the test runner takes for "skipped".
constexpr int skippedCode = 77;

/// Thousands of libraries are made and thrown away: in memory, where the system has room for that.
void preferMemory() {
    constexpr const char* memory = "/dev/shm";
    struct statvfs room {};
    const bool isRoomy = statvfs(memory, &room) == 0 && room.f_bavail * room.f_frsize > 1 << 29;
    if (isRoomy && access(memory, W_OK) == 0) setenv("TMPDIR", memory, 0);
}

int usage() {
    std::cerr << "crash_tests kill|power-cut|faults|disk [--long] [--seed N] [--only CASE]\n";
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.empty() || !tests.contains(words.front())) return usage();
    kelto::Effort effort;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "--long") {
            effort.isLong = true;
        } else if (words[i] == "--seed" && i + 1 < words.size()) {
            effort.seed = std::strtoull(words[++i].c_str(), nullptr, 10);
        } else if (words[i] == "--only" && i + 1 < words.size()) {
            effort.only = words[++i];
        } else {
            return usage();
        }
    }
    preferMemory();
    CrashReport report(words.front(), effort);
    try {
        tests.at(words.front())(report);
    } catch (const std::exception& failure) {
        std::cout << "the test itself has failed: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
    if (report.isSkipped()) return skippedCode;
    return report.finish() ? EXIT_SUCCESS : EXIT_FAILURE;
}
