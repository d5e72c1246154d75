#include "benchmarks/ChildProcess.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelto::bench {

namespace {

[[noreturn]] void refuse(const char* what) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) {
    std::string program = "/proc/self/exe";
    std::vector<std::string> words = arguments;
    std::vector<char*> pointers{program.data()};
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);

    int toChild[2];
    int fromChild[2];
    if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) refuse("no pipe");
    process_ = ::fork();
    if (process_ < 0) refuse("no process");
    if (process_ == 0) {
        // Else it would fill a folder that whoever ended us is about to remove.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(toChild[0], STDIN_FILENO);
        ::dup2(fromChild[1], STDOUT_FILENO);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    ::close(toChild[0]);
    ::close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
}

ChildProcess::~ChildProcess() {
    static_cast<void>(wait());
    ::close(output_);
}

int ChildProcess::wait() {
    if (input_ >= 0) ::close(std::exchange(input_, -1));
    int status = 0;
    if (process_ > 0) ::waitpid(std::exchange(process_, -1), &status, 0);
    return status;
}

void ChildProcess::writeLine(std::string_view line) {
    const std::string text = std::string(line) + "\n";
    if (::write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        refuse("a process of the run does not listen");
    }
}

std::optional<std::string> ChildProcess::readLine() {
    for (;;) {
        if (const std::size_t end = read_.find('\n'); end != std::string::npos) {
            std::string line = read_.substr(0, end);
            read_.erase(0, end + 1);
            return line;
        }
        char bytes[4096];
        const ssize_t count = ::read(output_, bytes, sizeof bytes);
        if (count <= 0) return std::nullopt;
        read_.append(bytes, static_cast<std::size_t>(count));
    }
}

void ChildProcess::finish() {
    if (wait() != 0) throw std::runtime_error("a process of the run has failed");
}

}  // namespace kelto::bench
