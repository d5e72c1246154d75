#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace kelto {

/// A text that stands in the program's source: the compiler takes nothing else, so no word of a
/// library can ever be one.
class FixedText {
public:
    // Implicit: a literal is what it is made for.
    consteval FixedText(const char* text) : text_(text) {}
    [[nodiscard]] constexpr const char* get() const { return text_; }

private:
    const char* text_;
};

struct DiagnosticFigure {
    FixedText name;  ///< One word in lower-case ASCII letters.
    std::int64_t amount = 0;
};

/// One stage of an exchange, or its refusal. Holds fixed words, numbers and times only.
struct DiagnosticEvent {
    FixedText stage;
    std::int64_t exchange = 0;  ///< The store's exchanges are numbered from 1.
    std::chrono::nanoseconds time{};
    std::vector<DiagnosticFigure> figures{};
    FixedText refusal = "";  ///< What kind of refusal it was; empty when it was none.
};

/// What a person who looks for a fault gets to see of the exchanges, by the habits of the system.
/// Any thread.
class Diagnostics {
public:
    virtual ~Diagnostics() = default;
    /// Whether anybody would see an event now. Cheap: asked at every exchange.
    [[nodiscard]] virtual bool isWanted() = 0;
    virtual void tell(const DiagnosticEvent& event) = 0;
};

}  // namespace kelto
