#include <cstdlib>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/HostState.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {
namespace {

constexpr const char* answer =
    R"({"version":1,"records":[{"recordType":"Tag","uuid":"a","name":"sea"}],"status":"ready"})";

mode_t permissions(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 0777U : 0;
}

TEST(HostState, HasNoSnapshotBeforeTheFirstAnswer) {
    const TemporaryFolder folder;
    const HostState state(folder.path("state"), "/store");
    EXPECT_FALSE(state.lastSnapshot());
}

TEST(HostState, RemembersTheLastAnswer) {
    const TemporaryFolder folder;
    HostState(folder.path("state"), "/store").keepSnapshot(answer);
    const auto snapshot = HostState(folder.path("state"), "/store").lastSnapshot();
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->status(), "ready");
    EXPECT_EQ(snapshot->tags().at(0).name, "sea");
}

TEST(HostState, KeepsEveryLibraryToItself) {
    const TemporaryFolder folder;
    HostState(folder.path("state"), "/one").keepSnapshot(answer);
    EXPECT_FALSE(HostState(folder.path("state"), "/two").lastSnapshot());
}

TEST(HostState, IsReadableByItsUserAlone) {
    const TemporaryFolder folder;
    const HostState state(folder.path("state"), "/store");
    state.keepSnapshot(answer);
    EXPECT_EQ(permissions(folder.path("state")), 0700U);
    EXPECT_EQ(permissions(state.exchangeFolder()), 0700U);
    EXPECT_EQ(permissions(state.folder() + "/snapshot.json"), 0600U);
}

TEST(HostState, LeavesNoTemporaryFilesBehind) {
    const TemporaryFolder folder;
    const HostState state(folder.path("state"), "/store");
    state.keepSnapshot(answer);
    state.keepSnapshot(answer);
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(state.folder()))
        files += entry.is_regular_file() ? 1 : 0;
    EXPECT_EQ(files, 2U);  // the snapshot and the lock
}

TEST(HostState, NamesADamagedSnapshotAndWhatToDo) {
    const TemporaryFolder folder;
    const HostState state(folder.path("state"), "/store");
    state.keepSnapshot("{\"records\":");
    try {
        (void)state.lastSnapshot();
        FAIL() << "a damaged snapshot was read";
    } catch (const Refusal& refusal) {
        const std::string sentence = refusal.what();
        EXPECT_NE(sentence.find(state.folder() + "/snapshot.json"), std::string::npos);
        EXPECT_NE(sentence.find("Remove the file"), std::string::npos);
    }
}

TEST(HostState, RefusesAFileInTheWayOfItsFolder) {
    const TemporaryFolder folder;
    folder.write("state", "in the way");
    EXPECT_THROW(HostState(folder.path("state"), "/store"), Refusal);
}

TEST(HostState, MakesASecondOneWaitForTheFirst) {
    const TemporaryFolder folder;
    auto first = std::make_unique<HostState>(folder.path("state"), "/store");
    std::atomic<bool> isOpen = false;
    std::thread second([&] {
        const HostState state(folder.path("state"), "/store");
        isOpen = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(isOpen);
    first.reset();
    second.join();
    EXPECT_TRUE(isOpen);
}

/// Sets a variable for one test.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
    }
    ~Variable() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(HostState, LiesInTheStateHome) {
    const Variable stateHome("XDG_STATE_HOME", "/state");
    EXPECT_EQ(HostState::baseFolder(), "/state/keltoctl");
}

TEST(HostState, LiesInTheHomeFolderWhenTheStateHomeIsNoAbsolutePath) {
    const Variable stateHome("XDG_STATE_HOME", "state");
    const Variable home("HOME", "/home/someone");
    EXPECT_EQ(HostState::baseFolder(), "/home/someone/.local/state/keltoctl");
}

TEST(HostState, NeedsOneOfTheTwo) {
    const Variable stateHome("XDG_STATE_HOME", nullptr);
    const Variable home("HOME", "");
    EXPECT_THROW((void)HostState::baseFolder(), Refusal);
}

}  // namespace
}  // namespace kelto::ctl
