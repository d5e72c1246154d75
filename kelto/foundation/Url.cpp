#include "kelto/foundation/Url.hpp"

#include <algorithm>
#include <memory>
#include <new>

#include <unicode/bytestream.h>
#include <unicode/idna.h>
#include <uriparser/Uri.h>

#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Utf8Scan.hpp"

namespace kelto {
namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isSchemeCharacter(char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
}

/// The characters that may stand in every part of a URL (unreserved and sub-delims of RFC 3986).
bool isPlain(char c) {
    constexpr std::string_view marks = "-._~!$&'()*+,;=";
    return isLetter(c) || isDigit(c) || marks.find(c) != std::string_view::npos;
}

/// 0 to 15, or -1.
int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool beginsWithEscape(std::string_view text) {
    return text.size() >= 3 && text[0] == '%' && hexValue(text[1]) >= 0 && hexValue(text[2]) >= 0;
}

void appendEscape(std::string& text, char c) {
    const auto byte = static_cast<unsigned char>(c);
    text += '%';
    text += hexDigits[byte >> 4U];
    text += hexDigits[byte & 0xFU];
}

/// Appends `part` with everything escaped that is neither plain, nor in `allowed`, nor an escape.
void appendEncoded(std::string& text, std::string_view part, std::string_view allowed) {
    for (std::size_t index = 0; index < part.size(); ++index) {
        const char c = part[index];
        const bool isKept = isPlain(c) || allowed.find(c) != std::string_view::npos ||
                            beginsWithEscape(part.substr(index));
        if (isKept) {
            text += c;
        } else {
            appendEscape(text, c);
        }
    }
}

enum class Nul { decoded, kept };

std::string percentDecoded(std::string_view text, Nul nul) {
    std::string decoded;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (!beginsWithEscape(text.substr(index))) {
            decoded += text[index];
            continue;
        }
        const int byte = hexValue(text[index + 1]) * 16 + hexValue(text[index + 2]);
        if (byte == 0 && nul == Nul::kept) {
            decoded += "%00";
        } else {
            decoded += static_cast<char>(byte);
        }
        index += 2;
    }
    return repairedUtf8(decoded);
}

/// The parts of a URL as RFC 3986, appendix B, cuts them, before anything is encoded.
struct Parts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;
};

/// Takes what stands before the first of `delimiters` off the front of `text`.
std::string_view takeUntil(std::string_view& text, std::string_view delimiters) {
    const std::size_t end = std::min(text.find_first_of(delimiters), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end);
    return taken;
}

/// None when the text begins with something before a colon that can be neither a scheme nor a path.
std::optional<Parts> split(std::string_view text) {
    Parts parts;
    const std::size_t end = text.find_first_of(":/?#");
    if (end != std::string_view::npos && text[end] == ':') {
        const std::string_view scheme = text.substr(0, end);
        if (!std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter)) return std::nullopt;
        // "1a:b" has no scheme, for schemes begin with a letter: all of it is a path.
        if (scheme.empty() || isLetter(scheme.front())) {
            parts.scheme = scheme;
            text.remove_prefix(end + 1);
        }
    }
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.authority = takeUntil(text, "/?#");
    }
    parts.path = takeUntil(text, "?#");
    if (text.starts_with('?')) {
        text.remove_prefix(1);
        parts.query = takeUntil(text, "#");
    }
    if (text.starts_with('#')) parts.fragment = text.substr(1);
    return parts;
}

/// The ASCII form of a host name in another script; none when it has none.
std::optional<std::string> asciiHost(std::string_view host) {
    // A domain name has at most 253 bytes, and each character takes at least one of them. More is
    // refused at once: the encoding of one label takes quadratic time.
    constexpr std::size_t longestName = std::size_t{253} * 4;
    if (host.size() > longestName) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::IDNA> idna(icu::IDNA::createUTS46Instance(
        UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII, status));
    if (U_FAILURE(status)) return std::nullopt;
    std::string ascii;
    icu::StringByteSink<std::string> sink(&ascii);
    icu::IDNAInfo info;
    idna->nameToASCII_UTF8(
        {host.data(), static_cast<std::int32_t>(host.size())}, sink, info, status);
    if (U_FAILURE(status) || info.hasErrors()) return std::nullopt;
    // Some characters stand for a delimiter ("℀" for "a/c"): none may enter a host this way.
    if (!std::all_of(ascii.begin(), ascii.end(), isPlain)) return std::nullopt;
    return ascii;
}

/// Web addresses are followed by people who read the host, so theirs is not repaired by escapes.
bool hasStrictHost(const Parts& parts) {
    if (!parts.scheme) return false;
    const std::string scheme = lowerCased(*parts.scheme);
    return scheme == "http" || scheme == "https";
}

/// The text of a URL with its scheme taken off, encoded.
struct EncodedRest {
    std::string text;
    std::size_t zoneStart = 0;  ///< the zone of an IPv6 address in `text`, with its "%25"
    std::size_t zoneLength = 0;
};

/// Appends the inside of "[...]". Whether it is an address is left to the parser.
void appendAddress(EncodedRest& rest, std::string_view address) {
    const std::size_t percent = address.find('%');
    rest.text += '[';
    rest.text += address.substr(0, percent);
    if (percent != std::string_view::npos) {
        std::string_view zone = address.substr(percent);
        zone.remove_prefix(zone.starts_with("%25") ? 3 : 1);
        rest.zoneStart = rest.text.size();
        rest.text += "%25";
        appendEncoded(rest.text, zone, "");
        rest.zoneLength = rest.text.size() - rest.zoneStart;
    }
    rest.text += ']';
}

bool appendHostName(EncodedRest& rest, std::string_view host, bool isStrict) {
    if (!isAscii(host)) {
        const std::optional<std::string> ascii = asciiHost(host);
        if (!ascii) return false;
        rest.text += *ascii;
        return true;
    }
    std::string encoded;
    appendEncoded(encoded, host, "");
    if (isStrict && encoded != host) return false;
    rest.text += encoded;
    return true;
}

/// False when the authority cannot be read.
bool appendAuthority(EncodedRest& rest, std::string_view authority, bool isStrict) {
    rest.text += "//";
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        appendEncoded(rest.text, authority.substr(0, at), ":");
        rest.text += '@';
        authority.remove_prefix(at + 1);
    }

    std::string_view afterHost = authority;
    if (authority.starts_with('[')) {
        const std::size_t close = authority.find(']');
        if (close == std::string_view::npos) return false;
        appendAddress(rest, authority.substr(1, close - 1));
        afterHost.remove_prefix(close + 1);
    } else if (!appendHostName(rest, takeUntil(afterHost, ":"), isStrict)) {
        return false;
    }

    const std::string_view port = afterHost.substr(afterHost.empty() ? 0 : 1);
    if (!afterHost.empty() && afterHost.front() != ':') return false;
    if (!std::all_of(port.begin(), port.end(), isDigit)) return false;
    rest.text += afterHost;
    return true;
}

std::optional<EncodedRest> encodedRest(const Parts& parts) {
    EncodedRest rest;
    if (parts.authority && !appendAuthority(rest, *parts.authority, hasStrictHost(parts))) {
        return std::nullopt;
    }
    appendEncoded(rest.text, parts.path, ":@/");
    if (parts.query) {
        rest.text += '?';
        appendEncoded(rest.text, *parts.query, ":@/?");
    }
    if (parts.fragment) {
        rest.text += '#';
        appendEncoded(rest.text, *parts.fragment, ":@/?");
    }
    return rest;
}

/// uriparser's reading of a text, which outlives it.
class ParsedUri {
public:
    explicit ParsedUri(const std::string& text)
        : error_(uriParseSingleUriExA(&uri_, text.data(), text.data() + text.size(), nullptr)) {
        if (error_ == URI_ERROR_MALLOC) throw std::bad_alloc();
    }
    ~ParsedUri() {
        if (isValid()) uriFreeUriMembersA(&uri_);
    }
    ParsedUri(const ParsedUri&) = delete;
    ParsedUri& operator=(const ParsedUri&) = delete;

    [[nodiscard]] bool isValid() const { return error_ == URI_SUCCESS; }
    [[nodiscard]] std::string_view host() const { return viewOf(uri_.hostText); }
    [[nodiscard]] std::vector<std::string_view> segments() const {
        std::vector<std::string_view> segments;
        for (const UriPathSegmentA* segment = uri_.pathHead; segment != nullptr;
             segment = segment->next) {
            segments.push_back(viewOf(segment->text));
        }
        return segments;
    }

private:
    static std::string_view viewOf(const UriTextRangeA& range) {
        if (range.first == nullptr) return {};
        return {range.first, static_cast<std::size_t>(range.afterLast - range.first)};
    }

    UriUriA uri_{};
    int error_;
};

}  // namespace

std::optional<Url> Url::parse(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const std::string repaired = repairedUtf8(text);
    const std::optional<Parts> parts = split(repaired);
    if (!parts) return std::nullopt;
    const std::optional<EncodedRest> rest = encodedRest(*parts);
    if (!rest) return std::nullopt;

    // The parser knows neither zones nor an empty scheme, and takes a colon in the first segment of
    // a relative path for the end of one; a scheme of ours in front leaves it nothing to doubt.
    std::string parsable = "x:" + rest->text;
    parsable.erase(2 + rest->zoneStart, rest->zoneLength);
    const ParsedUri parsed(parsable);
    if (!parsed.isValid()) return std::nullopt;

    Url url;
    if (parts->scheme) {
        url.scheme_ = std::string(*parts->scheme);
        url.text_ = *url.scheme_ + ":";
    }
    url.text_ += rest->text;
    if (!parsed.host().empty()) {
        std::string host(parsed.host());
        host += std::string_view(rest->text).substr(rest->zoneStart, rest->zoneLength);
        url.host_ = percentDecoded(host, Nul::kept);
    }
    if (parts->path.starts_with('/')) url.pathComponents_.emplace_back("/");
    for (const std::string_view segment : parsed.segments()) {
        if (!segment.empty()) {
            url.pathComponents_.push_back(percentDecoded(segment, Nul::decoded));
        }
    }
    return url;
}

}  // namespace kelto
