#include "tests/AppleBridge/SentenceCatalogue.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sstream>

#include "tests/support/Files.hpp"

namespace kelto {

namespace {

namespace fs = std::filesystem;

const std::string sourceFolder = KELTO_SOURCE_FOLDER;

constexpr std::string_view beginningLeftOut = "…: ";
constexpr std::string_view endLeftOut = " …";

/// The fixed parts of a sentence, in their order; anything stands between two of them.
std::vector<std::string> fixedParts(std::string_view sentence) {
    std::vector<std::string> parts{""};
    if (sentence.starts_with(beginningLeftOut)) {
        parts.emplace_back(": ");
        sentence.remove_prefix(beginningLeftOut.size());
    }
    const bool goesOn = sentence.ends_with(endLeftOut);
    if (goesOn) sentence.remove_suffix(endLeftOut.size());
    while (!sentence.empty()) {
        const std::size_t open = std::min(sentence.find('<'), sentence.size());
        parts.back().append(sentence.substr(0, open));
        sentence.remove_prefix(open);
        if (sentence.empty()) break;
        sentence.remove_prefix(std::min(sentence.find('>') + 1, sentence.size()));
        parts.emplace_back();
    }
    if (goesOn) parts.emplace_back();
    return parts;
}

/// Reads C++ as far as texts are concerned: which there are, and in which statement.
class SourceScan {
public:
    explicit SourceScan(std::string_view source) : source_(source) {}

    /// The texts with the code that stands before them in their statement; texts that follow each
    /// other directly are one.
    struct Text {
        std::string text;
        std::string statement;
        std::size_t codeAfter = 0;
    };
    std::vector<Text> texts() {
        while (at_ < source_.size()) {
            if (comes("//")) {
                at_ = std::min(source_.find('\n', at_), source_.size());
            } else if (comes("R\"(")) {
                at_ = source_.find(")\"", at_) + 2;
                code_ += '0';
            } else if (source_[at_] == '\'' && !isDigitSeparator()) {
                static_cast<void>(quoted('\''));
                code_ += '0';
            } else if (source_[at_] == '"') {
                add(quoted('"'));
            } else {
                code_ += source_[at_++];
            }
        }
        return std::move(texts_);
    }

private:
    [[nodiscard]] bool comes(std::string_view what) const {
        return source_.substr(at_).starts_with(what);
    }
    [[nodiscard]] bool isDigitSeparator() const {
        return at_ > 0 && std::isalnum(static_cast<unsigned char>(source_[at_ - 1])) != 0;
    }
    std::string quoted(char mark) {
        std::string text;
        for (++at_; at_ < source_.size() && source_[at_] != mark; ++at_) {
            if (source_[at_] == '\\') ++at_;
            text += source_[at_];
        }
        ++at_;
        return text;
    }
    void add(const std::string& text) {
        const auto isBlank = [](unsigned char c) { return std::isspace(c) != 0; };
        const bool goesOn =
            !texts_.empty() &&
            std::all_of(code_.begin() + static_cast<std::ptrdiff_t>(texts_.back().codeAfter),
                        code_.end(),
                        isBlank);
        if (goesOn) {
            texts_.back().text += text;
        } else {
            const std::size_t before = code_.find_last_of(";{}");
            texts_.push_back({text, code_.substr(before == code_.npos ? 0 : before + 1)});
        }
        texts_.back().codeAfter = code_.size();
    }

    std::string_view source_;
    std::size_t at_ = 0;
    std::string code_;
    std::vector<Text> texts_;
};

/// Several words, which are no SQL.
bool readsLikeASentence(std::string_view text) {
    const auto isLetter = [](unsigned char c) { return std::isalpha(c) != 0; };
    const auto isCapital = [](char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; };
    if (std::count(text.begin(), text.end(), ' ') < 2) return false;
    const auto word = std::find_if(text.begin(), text.end(), isLetter);
    if (word == text.end()) return false;
    return !(isCapital(*word) && word + 1 != text.end() && isCapital(*(word + 1)));
}

}  // namespace

std::vector<std::string> cataloguedSentences() {
    std::vector<std::string> sentences;
    std::istringstream page(readFile(sourceFolder + "/docs/error-sentences.md"));
    constexpr std::string_view cell = "| `";
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with(cell)) continue;
        const std::size_t end = line.find('`', cell.size());
        sentences.push_back(line.substr(cell.size(), end - cell.size()));
    }
    return sentences;
}

bool isAnnounced(std::string_view text, std::string_view sentence) {
    const std::vector<std::string> parts = fixedParts(sentence);
    if (parts.size() == 1) return text == parts[0];
    if (!text.starts_with(parts.front())) return false;
    std::size_t place = parts.front().size();
    for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
        const std::size_t found = text.find(parts[i], place + 1);
        if (found == text.npos) return false;
        place = found + parts[i].size();
    }
    return text.size() > place + parts.back().size() && text.ends_with(parts.back());
}

std::vector<SourceText> sentencesInSource() {
    std::vector<SourceText> sentences;
    for (const auto& entry : fs::recursive_directory_iterator(sourceFolder + "/kelto")) {
        const std::string extension = entry.path().extension();
        if (extension != ".cpp" && extension != ".hpp") continue;
        const std::string file = entry.path().lexically_relative(sourceFolder);
        for (auto& [text, statement, after] : SourceScan(readFile(entry.path())).texts()) {
            const bool stopsTheProcess = statement.find("fatalError") != statement.npos;
            if (!stopsTheProcess && readsLikeASentence(text)) sentences.push_back({file, text});
        }
    }
    return sentences;
}

}  // namespace kelto
