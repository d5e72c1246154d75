#include <memory>
#include <optional>
#include <utility>

#include "kelto/foundation/Text.hpp"
#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/FuzzedLibrary.hpp"
#include "tests/fuzz/InputReader.hpp"

namespace kelto {

namespace {

/// After so many inputs everything is made anew, so that nothing piles up.
constexpr int inputsForOneLibrary = 1000;
/// A request remembers the one before: inputs hold several, with this control character between.
constexpr char betweenRequests = '\x1E';

}  // namespace

void fuzzExchange(std::string_view input) {
    static std::unique_ptr<FuzzedLibrary> library;
    static int inputs = 0;
    if (!library || ++inputs % inputsForOneLibrary == 0) {
        library = std::make_unique<FuzzedLibrary>();
    }
    std::optional<JsonValue> answer;
    for (InputReader requests(input); !requests.isAtEnd();) {
        const std::string request = library->expanded(requests.until(betweenRequests));
        if (holdsImpossibleTimestamp(repairedUtf8(request))) continue;
        JsonValue next = library->exchange(request);
        if (next.member("error") == nullptr) answer = std::move(next);
    }
    // Nothing of a refused request stays, so after those alone the library is what it was.
    if (!answer) return;
    library->requireStable(*answer);
    library->restore();
}

}  // namespace kelto
