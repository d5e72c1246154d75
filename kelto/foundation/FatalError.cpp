#include "kelto/foundation/FatalError.hpp"

#include <cstdio>
#include <cstdlib>

namespace kelto {

void fatalError(std::string_view what, std::string_view file, int line) noexcept {
    // One call, so that lines of other threads do not break into this one.
    std::fprintf(stderr,
                 "Fatal error: %.*s (%.*s:%d)\n",
                 static_cast<int>(what.size()),
                 what.data(),
                 static_cast<int>(file.size()),
                 file.data(),
                 line);
    std::abort();
}

}  // namespace kelto
