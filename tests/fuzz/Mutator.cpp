#include "tests/fuzz/Mutator.hpp"

#include <algorithm>
#include <cstdlib>

namespace kelto {

namespace {

std::size_t below(std::mt19937_64& dice, std::size_t limit) {
    return limit == 0 ? 0 : static_cast<std::size_t>(dice() % limit);
}

char anyByte(std::mt19937_64& dice) {
    return static_cast<char>(dice() & 0xFF);
}

}  // namespace

std::vector<std::string> dictionaryWords(std::string_view file) {
    std::vector<std::string> words;
    while (!file.empty()) {
        const std::string_view line = file.substr(0, file.find('\n'));
        file.remove_prefix(std::min(line.size() + 1, file.size()));
        const std::size_t first = line.find('"');
        const std::size_t last = line.rfind('"');
        if (line.starts_with('#') || first == last) continue;
        std::string word;
        for (std::size_t i = first + 1; i < last; ++i) {
            if (line[i] != '\\') {
                word += line[i];
            } else if (line[++i] == 'x') {
                word += static_cast<char>(
                    std::strtoul(std::string(line.substr(i + 1, 2)).c_str(), nullptr, 16));
                i += 2;
            } else {
                word += line[i];
            }
        }
        words.push_back(std::move(word));
    }
    return words;
}

std::string Mutator::variant(std::string_view input, std::uint64_t seed) const {
    Dice dice(seed);
    std::string text(input);
    for (std::size_t changes = 1 + below(dice, 4); changes > 0; --changes) changeOnce(text, dice);
    return text;
}

void Mutator::changeOnce(std::string& text, Dice& dice) const {
    const std::size_t at = below(dice, text.size() + 1);
    const std::size_t length = below(dice, std::min<std::size_t>(text.size() - at, 40) + 1);
    switch (dice() % 7) {
        case 0:
            if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << (dice() % 8)));
            break;
        case 1:
            if (at < text.size()) text[at] = anyByte(dice);
            break;
        case 2:
            text.insert(at, 1, anyByte(dice));
            break;
        case 3:
            text.erase(at, length);
            break;
        case 4:
            text.insert(at, std::string(text.substr(at, length)));
            break;
        case 5:
            if (!words_.empty()) text.replace(at, length, words_[below(dice, words_.size())]);
            break;
        default:
            if (!others_.empty()) {
                const std::string& other = others_[below(dice, others_.size())];
                text.replace(at, length, other.substr(below(dice, other.size() + 1), 60));
            }
            break;
    }
}

}  // namespace kelto
