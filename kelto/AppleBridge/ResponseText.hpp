#pragma once

#include <memory>
#include <string>
#include <utility>

namespace kelto {

/// What an exchange answers. The text may be shared with whoever remembers it for the next
/// exchange: responses are as large as the library, and copying one takes longer than many a whole
/// exchange.
class ResponseText {
public:
    ResponseText(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}
    ResponseText(std::shared_ptr<const std::string> text) : text_(std::move(text)) {}

    [[nodiscard]] const std::string& text() const { return *text_; }

private:
    std::shared_ptr<const std::string> text_;
};

}  // namespace kelto
