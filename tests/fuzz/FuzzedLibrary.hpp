#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tests/support/TestLibrary.hpp"

namespace kelto {

/// The identifiers that inputs can name: of two things, two projects and a tag, all of them in the
/// library before an input comes.
inline constexpr std::string_view firstThing = "5eed0000-0000-4000-8000-000000000001";

/// A library for inputs of fuzzers: a few records, payload files in the exchange folder, and no way
/// out of its temporary folder.
class FuzzedLibrary {
public:
    FuzzedLibrary();

    /// The input with $STORE and $DIR replaced by the store's path and the exchange folder.
    [[nodiscard]] std::string expanded(std::string_view input) const;
    /// Sends one request as the C interface would, and checks what comes back: an error envelope
    /// or a response, by all rules of either.
    JsonValue exchange(const std::string& request);
    /// Sends back the records of a response, the fingerprints too: nothing may change.
    void requireStable(const JsonValue& response);
    /// Makes the library again what it was in the beginning.
    void restore();

    [[nodiscard]] TestLibrary& library() { return library_; }

private:
    TestLibrary library_;
};

/// Whether a request holds a timestamp that no response could: by design such a request of a broken
/// host stops the process.
[[nodiscard]] bool holdsImpossibleTimestamp(std::string_view request);

}  // namespace kelto
