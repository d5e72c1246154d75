#include "tools/keltoctl/StandardStreams.hpp"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "tools/keltoctl/PrivateFile.hpp"

namespace kelto::ctl {

void occupyClosedStandardStreams() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(number, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest free number is taken, and those below are in use by now.
        (void)::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

std::string standardInput() {
    return readToEnd(STDIN_FILENO, "standard input", documentLimitBytes);
}

bool isStandardOutputWritten() {
    // A failure is told once: what was lost earlier is only remembered in the stream's own flag.
    const bool isFlushed = std::fflush(stdout) == 0;
    return isFlushed && std::ferror(stdout) == 0;
}

}  // namespace kelto::ctl
