#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Url.hpp"
#include "kelto/model/ThingKind.hpp"
#include "tests/fuzz/FuzzTarget.hpp"

namespace kelto {

namespace {

bool isPrintable(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ' || static_cast<unsigned char>(c) > '~') {
            return false;
        }
    }
    return true;
}

}  // namespace

void fuzzUrls(std::string_view input) {
    const auto url = Url::parse(input);
    if (!url) return;
    require(isPrintable(url->text()), "a URL is printable ASCII");
    const auto again = Url::parse(url->text());
    require(again.has_value(), "a URL's text is a URL");
    require(again->text() == url->text(), "encoding a URL again changes nothing");
    require(again->scheme() == url->scheme() && again->host() == url->host() &&
                again->pathComponents() == url->pathComponents(),
            "a URL's text has the same parts");
    require(!url->host() || (!url->host()->empty() && url->host()->find('\0') == std::string::npos),
            "a host is not empty and holds no NUL");
    for (const std::string& component : url->pathComponents()) {
        require(!component.empty(), "no component is empty");
    }
}

}  // namespace kelto
