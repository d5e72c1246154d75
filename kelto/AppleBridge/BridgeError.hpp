#pragma once

#include <exception>
#include <string>
#include <utility>

namespace kelto {

/// A refusal that the library itself decides. Its message reaches the host verbatim.
class BridgeError : public std::exception {
public:
    explicit BridgeError(std::string message) : message_(std::move(message)) {}

    [[nodiscard]] const std::string& message() const { return message_; }
    [[nodiscard]] const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
};

}  // namespace kelto
