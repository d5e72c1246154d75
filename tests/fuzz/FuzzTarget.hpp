#pragma once

#include <span>
#include <string_view>

namespace kelto {

/// One part of the library that foreign bytes reach, with what it promises about them. `run` takes
/// any bytes and ends the process when a promise is broken.
struct FuzzTarget {
    std::string_view name;
    void (*run)(std::string_view input);
    /// How many variants of a corpus file the test of the corpus makes: fewer where one costs more.
    int variants;
};

/// All targets; each has a folder of its name in tests/fuzz/corpus.
[[nodiscard]] std::span<const FuzzTarget> fuzzTargets();

/// Ends the process with the broken promise and its place.
void require(bool isKept,
             std::string_view promise,
             std::string_view file = __builtin_FILE(),
             int line = __builtin_LINE());

void fuzzCanonical(std::string_view input);
void fuzzErrors(std::string_view input);
void fuzzExchange(std::string_view input);
void fuzzJson(std::string_view input);
void fuzzMetadata(std::string_view input);
void fuzzPaths(std::string_view input);
void fuzzRecords(std::string_view input);
void fuzzStore(std::string_view input);
void fuzzUrls(std::string_view input);

}  // namespace kelto
