#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/random/HistoryPlayer.hpp"

namespace kelto::history {

namespace {

std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

/// The history that is being played, for the one case in which no test can say it any more.
volatile std::sig_atomic_t currentSeed = 0;

void tellSeedAndAbort(int signal) {
    std::fprintf(stderr, "The process ended in the history of seed %d.\n", int{currentSeed});
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Nobody pulls the plug in these histories, so nothing needs to reach a disk: in a folder that
/// lives in memory they take a tenth of the time. A TMPDIR that is set is respected.
void playInMemory() {
    if (::access("/dev/shm", W_OK) == 0) ::setenv("TMPDIR", "/dev/shm", 0);
}

/// Everything that one needs to write a test of its own for it.
std::string told(const History& history, const Difference& difference) {
    std::ostringstream out;
    for (std::size_t i = 0; i < history.size(); ++i) {
        const HistoryStep& step = history[i];
        out << "exchange " << i << ", process " << step.process
            << (step.restarts ? ", after a restart" : "") << "\n";
        for (const FileChange& file : step.files) {
            out << "  " << file.path << ": "
                << (file.content ? std::to_string(file.content->bytes.size()) + " bytes, " +
                                       file.content->digest.substr(0, 8)
                                 : "removed")
                << "\n";
        }
        out << step.request.indentedText() << "\n";
    }
    out << "In exchange " << difference.step << ": " << difference.what << "\n";
    return out.str();
}

}  // namespace

/// KELTO_HISTORIES says how many; KELTO_SEED, which is the first: a failed history is played again
/// with its own seed and KELTO_HISTORIES=1.
TEST(RandomHistory, LeavesTheLibraryWhereThePlainModelIs) {
    playInMemory();
    std::signal(SIGABRT, tellSeedAndAbort);
    const std::uint64_t count = numberFromEnvironment("KELTO_HISTORIES", 200);
    const std::uint64_t firstSeed = numberFromEnvironment("KELTO_SEED", 1);
    for (std::uint64_t seed = firstSeed; seed < firstSeed + count; ++seed) {
        currentSeed = static_cast<std::sig_atomic_t>(seed);
        const History history = HistoryGenerator(seed).history();
        const auto difference = play(history);
        if (!difference) continue;
        const History shorter = shrunk(history);
        const auto shorterDifference = play(shorter).value_or(*difference);
        FAIL() << "Seed " << seed << ", exchange " << difference->step << " of " << history.size()
               << ": " << difference->what << "\n\nA shorter history with the same end:\n"
               << told(shorter, shorterDifference);
    }
}

}  // namespace kelto::history
