#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestLibrary.hpp"

namespace kelto {

/// A sentence of the catalogue, and how a host comes to get it.
struct SentenceCase {
    const char* name;
    std::string sentence;                  ///< As the catalogue has it.
    std::function<std::string()> produce;  ///< What the host gets.
};

void PrintTo(const SentenceCase& sentence, std::ostream* out);

/// Changes a new library and a request without records.
using Arrange = void (*)(TestLibrary& library, RequestBuilder& request);

/// The sentence that a request gets after that.
[[nodiscard]] std::function<std::string()> refusedAfter(Arrange arrange);
/// The sentence that a text gets in the place of a request.
[[nodiscard]] std::function<std::string()> refused(std::string text);

// By the sections of the catalogue.

[[nodiscard]] std::vector<SentenceCase> refusalSentences();
[[nodiscard]] std::vector<SentenceCase> requestSentences();
/// Of files and of the account service.
[[nodiscard]] std::vector<SentenceCase> fileSentences();
[[nodiscard]] std::vector<SentenceCase> storeSentences();
[[nodiscard]] std::vector<SentenceCase> damageSentences();
/// And of words in an item.
[[nodiscard]] std::vector<SentenceCase> statusSentences();

}  // namespace kelto
