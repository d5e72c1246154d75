#include "benchmarks/GroupedNumber.hpp"

namespace kelto::bench {

std::string grouped(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}

}  // namespace kelto::bench
