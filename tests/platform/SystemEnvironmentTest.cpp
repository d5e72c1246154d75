#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "kelto/platform/linux/SystemEnvironment.hpp"

namespace kelto {
namespace {

using testing::IsEmpty;
using Variables = std::map<std::string, std::string>;

/// Replaces the process's environment for the length of a test.
class Entries {
public:
    explicit Entries(std::vector<std::string> entries) : entries_(std::move(entries)) {
        for (std::string& entry : entries_) pointers_.push_back(entry.data());
        pointers_.push_back(nullptr);
        environ = pointers_.data();
    }
    Entries(const Entries&) = delete;
    Entries& operator=(const Entries&) = delete;
    ~Entries() { environ = before_; }

private:
    char** before_ = environ;
    std::vector<std::string> entries_;
    std::vector<char*> pointers_;
};

TEST(SystemEnvironment, HoldsNamesAndValues) {
    const Entries entries({"A=1", "B=two words"});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"A", "1"}, {"B", "two words"}}));
}

TEST(SystemEnvironment, KeepsAnEmptyValue) {
    const Entries entries({"A="});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"A", ""}}));
}

TEST(SystemEnvironment, SplitsAtTheFirstEqualsSign) {
    const Entries entries({"A=b=c=d"});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"A", "b=c=d"}}));
}

TEST(SystemEnvironment, LeavesOutAnEntryWithoutAnEqualsSign) {
    const Entries entries({"A", "", "B=1"});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"B", "1"}}));
}

TEST(SystemEnvironment, TakesTheLaterOfTwoEntries) {
    const Entries entries({"A=first", "B=1", "A=last"});
    EXPECT_EQ(SystemEnvironment().variables().at("A"), "last");
}

TEST(SystemEnvironment, TellsNamesOfDifferentLetterCaseApart) {
    const Entries entries({"name=1", "NAME=2"});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"name", "1"}, {"NAME", "2"}}));
}

TEST(SystemEnvironment, RepairsTextsThatAreNotUtf8) {
    const Entries entries({"A\xFF=b\xC3"});
    EXPECT_EQ(SystemEnvironment().variables(), (Variables{{"A\uFFFD", "b\uFFFD"}}));
}

TEST(SystemEnvironment, LooksAnewEveryTime) {
    SystemEnvironment environment;
    {
        const Entries entries({"A=1"});
        EXPECT_EQ(environment.variables(), (Variables{{"A", "1"}}));
    }
    const Entries entries({"A=2"});
    EXPECT_EQ(environment.variables(), (Variables{{"A", "2"}}));
}

TEST(SystemEnvironment, IsEmptyWhenTheProcessHasNone) {
    char** const before = environ;
    environ = nullptr;
    const Variables variables = SystemEnvironment().variables();
    environ = before;
    EXPECT_THAT(variables, IsEmpty());
}

}  // namespace
}  // namespace kelto
