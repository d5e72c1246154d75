#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kelto::bench {

/// This program once more, in a process of its own: a process opens one store only. What it prints
/// is read line by line, what it complains of goes where ours goes.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& arguments);
    /// Closes the child's input, and waits for its end.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void writeLine(std::string_view line);
    /// The next line without its end; none when the child has closed its output.
    [[nodiscard]] std::optional<std::string> readLine();
    /// Waits for the end, and throws unless the child was content.
    void finish();

private:
    [[nodiscard]] int wait();

    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string read_;
};

}  // namespace kelto::bench
