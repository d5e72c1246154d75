#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelto {

/// The words of a dictionary in libFuzzer's form: one quoted text a line, \\, \" and \xNN escaped.
[[nodiscard]] std::vector<std::string> dictionaryWords(std::string_view file);

/// Makes variants of inputs: bits turned, bytes and words put in, pieces cut out, doubled, or taken
/// from another input. The same seed makes the same variants.
class Mutator {
public:
    /// Both are borrowed. `others` are inputs of the same kind.
    Mutator(std::span<const std::string> words, std::span<const std::string> others)
        : words_(words), others_(others) {}

    [[nodiscard]] std::string variant(std::string_view input, std::uint64_t seed) const;

private:
    using Dice = std::mt19937_64;
    void changeOnce(std::string& text, Dice& dice) const;

    std::span<const std::string> words_;
    std::span<const std::string> others_;
};

}  // namespace kelto
