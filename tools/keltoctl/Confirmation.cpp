#include "tools/keltoctl/Confirmation.hpp"

#include <cstdio>
#include <iostream>

#include <unistd.h>

#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

void confirm(const std::string& question, bool isGranted) {
    if (isGranted) return;
    if (::isatty(STDIN_FILENO) != 1) {
        throw WrongUsage("there is nobody to ask whether to go on; give --yes to go on.");
    }
    std::fflush(stdout);
    std::fprintf(stderr, "%s [y/N] ", question.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    if (answer == "y" || answer == "Y" || answer == "yes") return;
    throw Refusal("nothing was changed.");
}

}  // namespace kelto::ctl
