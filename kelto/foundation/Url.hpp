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
    /// As written, its letter case kept; none for a relative reference. Empty for ":path".
    [[nodiscard]] std::optional<std::string> scheme() const { return scheme_; }
    /// Percent-decoded, letter case kept, without user, port and the brackets of an address; none
    /// when there is no authority or its host is empty. Names in other scripts stand in their
    /// xn-- form; "%00" stays as it is, so that no host holds a NUL.
    [[nodiscard]] std::optional<std::string> host() const { return host_; }
    /// "/" first for an absolute path, then the segments, each percent-decoded; empty segments are
    /// dropped.
    [[nodiscard]] std::vector<std::string> pathComponents() const { return pathComponents_; }

    friend bool operator==(const Url& left, const Url& right) { return left.text_ == right.text_; }

private:
    Url() = default;

    std::string text_;
    std::optional<std::string> scheme_;
    std::optional<std::string> host_;
    std::vector<std::string> pathComponents_;
};

}  // namespace kelto
