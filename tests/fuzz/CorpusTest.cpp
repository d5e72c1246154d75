// Every input that was ever worth keeping, and variants of each, through the targets of the
// fuzzers: what broke once does not break again, in every build and without libFuzzer.

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/Mutator.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

void PrintTo(const FuzzTarget& target, std::ostream* out) {
    *out << target.name;
}

namespace {

/// What runs at the moment. A broken promise ends the process: then this is all that is left.
std::array<char, 512> current{};

extern "C" void sayWhatRuns(int) {
    (void)!write(STDERR_FILENO, current.data(), std::strlen(current.data()));
}

void nowRuns(const std::string& what) {
    const std::string line = "while this input ran: " + what + '\n';
    current.fill('\0');
    line.copy(current.data(), current.size() - 1);
}

/// KELTO_FUZZ_VARIANTS makes more of them, or fewer.
int variantsOf(const FuzzTarget& target) {
    const char* wanted = std::getenv("KELTO_FUZZ_VARIANTS");
    return wanted == nullptr ? target.variants : std::atoi(wanted);
}

class Corpus : public testing::TestWithParam<FuzzTarget> {
protected:
    static void SetUpTestSuite() { (void)std::signal(SIGABRT, sayWhatRuns); }
    static void TearDownTestSuite() { (void)std::signal(SIGABRT, SIG_DFL); }

    const std::string folder = std::string(KELTO_FUZZ_CORPUS) + "/" + std::string(GetParam().name);
    const std::vector<std::string> names = namesIn(folder);
};

TEST_P(Corpus, KeepsEveryPromise) {
    ASSERT_FALSE(names.empty()) << "there is no input for this target";
    for (const std::string& name : names) {
        nowRuns(folder + "/" + name);
        GetParam().run(readFile(folder + "/" + name));
    }
}

TEST_P(Corpus, KeepsEveryPromiseWhenItsInputsAreSpoiled) {
    const std::vector<std::string> words =
        dictionaryWords(readFile(std::string(KELTO_FUZZ_CORPUS) + "/../dictionary.txt"));
    ASSERT_THAT(words, testing::Contains("\"recordType\""));
    std::vector<std::string> inputs;
    for (const std::string& name : names) inputs.push_back(readFile(folder + "/" + name));
    const Mutator mutator(words, inputs);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        for (int seed = 0; seed < variantsOf(GetParam()); ++seed) {
            nowRuns(folder + "/" + names[i] + ", variant " + std::to_string(seed));
            GetParam().run(mutator.variant(inputs[i], static_cast<std::uint64_t>(seed)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Fuzz,
                         Corpus,
                         testing::ValuesIn(fuzzTargets().begin(), fuzzTargets().end()),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
}  // namespace kelto
