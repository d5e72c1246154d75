#pragma once

#include <string>

namespace kelto::ctl {

/// Takes the numbers 0, 1 and 2 where the caller has closed them, or the next file to be opened
/// would be one of them: the library's own then, into which an answer would be written. Reading and
/// writing there fail, as they do on what is closed. Called before anything else is opened.
void occupyClosedStandardStreams();

/// All that standard input holds, as it stands. Throws Refusal when it cannot be read to its end.
[[nodiscard]] std::string standardInput();

/// Whether everything that was printed has arrived.
[[nodiscard]] bool isStandardOutputWritten();

}  // namespace kelto::ctl
