#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/random/HistoryGenerator.hpp"

namespace kelto::history {

namespace {

/// How often the exchanges of many histories came to each end, and what was decided on the way.
Decisions endsOfManyHistories() {
    Decisions ends;
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        HistoryGenerator generator(seed);
        for (const HistoryStep& step : generator.history()) {
            if (step.restarts) ++ends["restart"];
        }
        for (const Outcome& outcome : generator.outcomes()) {
            if (outcome.isAnswer()) {
                ++ends["answer"];
            } else {
                ++ends[outcome.unreadableFile ? "unreadable file" : outcome.refusal];
            }
            for (const auto& [decision, times] : outcome.decisions) ends[decision] += times;
            ends["payload file written"] += outcome.written.size();
        }
    }
    return ends;
}

TEST(HistoryGenerator, RollsTheSameHistoryForTheSameSeed) {
    const History first = HistoryGenerator(7).history();
    const History again = HistoryGenerator(7).history();
    ASSERT_EQ(first.size(), again.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].request, again[i].request) << "exchange " << i;
    }
}

// A random test is worth what it meets: a change of the generator must not lose a case unseen.
TEST(HistoryGenerator, MeetsEveryCaseOften) {
    Decisions ends = endsOfManyHistories();
    const std::map<std::string, std::size_t> wanted = {
        {"answer", 2000},
        {"restart", 200},
        {"payload file written", 1000},
        {"the thing is new", 500},
        {"the host's version is older", 500},
        {"the host's version is newer", 500},
        {"both versions are of the same time", 500},
        {"both sides have the same file", 500},
        {"only the store has changed the file", 100},
        {"only the host has changed the file", 100},
        {"both sides have changed the file", 100},
        {"the store's version is kept already", 5},
        {"unreadable file", 10},
        {"Invalid bridge request.", 10},
        {"The iCloud store must be in Kelto’s App Group.", 3},
        {"The native store is already open at a different location.", 3},
        {"Invalid record identifier.", 20},
        {"Unknown iCloud record type.", 20},
        {"Invalid asset path.", 20},
        {"The library contains a project cycle.", 20},
    };
    for (const auto& [end, times] : wanted) EXPECT_GE(ends[end], times) << end;
    for (const auto& [end, times] : ends) {
        EXPECT_TRUE(wanted.contains(end)) << end << ": " << times;
        RecordProperty(end, std::to_string(times));
    }
}

}  // namespace

}  // namespace kelto::history
