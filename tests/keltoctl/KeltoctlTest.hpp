#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kelto/foundation/Json.hpp"
#include "tests/keltoctl/FakeLibrary.hpp"
#include "tests/keltoctl/TemporaryFolder.hpp"

namespace kelto::ctl {

/// How one run of keltoctl ended, and what it said.
struct Outcome {
    int status = -1;
    std::string output;
    std::string complaint;
};

/// The real program with the real library, one process for each command, in folders of the test's
/// own.
class KeltoctlTest : public testing::Test {
protected:
    /// Runs keltoctl as the host with that name: each has a memory of its own.
    Outcome runAs(const std::string& host,
                  std::vector<std::string> arguments,
                  std::string_view input = "") {
        const std::string inputFile = folder.write("input", input);
        const std::string outputFile = folder.path("output");
        const std::string errorFile = folder.path("errors");
        posix_spawn_file_actions_t files{};
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 0, inputFile.c_str(), O_RDONLY, 0);
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_addopen(&files, 1, outputFile.c_str(), flags, 0600);
        posix_spawn_file_actions_addopen(&files, 2, errorFile.c_str(), flags, 0600);

        arguments.insert(arguments.begin(), "keltoctl");
        std::vector<std::string> variables{"XDG_DATA_HOME=" + folder.path("data"),
                                           "XDG_STATE_HOME=" + folder.path("state-" + host),
                                           "LC_ALL=C.UTF-8"};
        for (const std::string& variable : extraEnvironment) variables.push_back(variable);
        pid_t process = 0;
        const int error = ::posix_spawn(&process,
                                        KELTOCTL_PROGRAM,
                                        &files,
                                        nullptr,
                                        pointers(arguments).data(),
                                        pointers(variables).data());
        posix_spawn_file_actions_destroy(&files);
        EXPECT_EQ(error, 0);
        int status = 0;
        ::waitpid(process, &status, 0);
        EXPECT_TRUE(WIFEXITED(status)) << "keltoctl ended by signal " << WTERMSIG(status);
        return {WEXITSTATUS(status), folder.read("output"), folder.read("errors")};
    }

    Outcome run(std::vector<std::string> arguments, std::string_view input = "") {
        return runAs("here", std::move(arguments), input);
    }

    /// Runs a command that must succeed and answer with a JSON document.
    JsonValue jsonAs(const std::string& host, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "--json");
        const Outcome outcome = runAs(host, std::move(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
        return JsonValue::parse(outcome.output);
    }
    JsonValue json(std::vector<std::string> arguments) {
        return jsonAs("here", std::move(arguments));
    }

    /// Runs a command that must succeed.
    void done(std::vector<std::string> arguments) {
        const Outcome outcome = run(std::move(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    }

    JsonElements things(std::vector<std::string> filter = {}) {
        filter.insert(filter.begin(), "list");
        return *json(std::move(filter)).member("things")->array();
    }

    std::string idOf(std::string_view title, const std::string& host = "here") {
        const JsonValue list = jsonAs(host, {"list"});
        for (const JsonValue& thing : *list.member("things")->array())
            if (textOf(thing, "displayTitle") == title) return textOf(thing, "uuid");
        ADD_FAILURE() << "no thing is called " << title;
        return "";
    }

    static std::int64_t count(const JsonValue& document, std::string_view key) {
        const JsonValue* value = document.member(key);
        return value != nullptr && value->number() != nullptr
                   ? value->number()->integer().value_or(-1)
                   : -1;
    }

    TemporaryFolder folder;
    std::vector<std::string> extraEnvironment;  ///< "NAME=value"

private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        result.reserve(texts.size() + 1);
        for (std::string& text : texts) result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    }
};

}  // namespace kelto::ctl
