#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "kelto/AppleBridge/BridgeRefusal.hpp"

namespace kelto {

/// A refusal that the library itself decides. Its message reaches the host verbatim.
class BridgeError : public std::exception {
public:
    explicit BridgeError(BridgeRefusal refusal)
        : message_(sentenceOf(refusal)), refusal_(refusal) {}
    /// In words of its own, of which diagnostics say nothing.
    explicit BridgeError(std::string message) : message_(std::move(message)) {}

    [[nodiscard]] const std::string& message() const { return message_; }
    [[nodiscard]] const std::optional<BridgeRefusal>& refusal() const { return refusal_; }
    [[nodiscard]] const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
    std::optional<BridgeRefusal> refusal_;
};

}  // namespace kelto
