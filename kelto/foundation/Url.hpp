#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelto {

/// A URL as the platform reads it (RFC 3986, lenient: characters that may not stand in a URL are
/// percent-encoded instead of refused). Compared by its text.
class Url {
public:
    /// None when the text cannot be read as a URL at all, the empty text included.
    [[nodiscard]] static std::optional<Url> parse(std::string_view text);

    /// The URL's text after encoding.
    [[nodiscard]] const std::string& text() const { return text_; }
    /// As written, its letter case kept; none for a relative reference.
    [[nodiscard]] std::optional<std::string> scheme() const;
    /// Percent-decoded, letter case kept, without user, port and the brackets of an address; none
    /// when there is no authority or its host is empty.
    [[nodiscard]] std::optional<std::string> host() const;
    /// "/" first for an absolute path, then the segments, each percent-decoded; empty segments are
    /// dropped.
    [[nodiscard]] std::vector<std::string> pathComponents() const;

    friend bool operator==(const Url& left, const Url& right) { return left.text_ == right.text_; }

private:
    // The implementer's, besides:
    std::string text_;
};

}  // namespace kelto
