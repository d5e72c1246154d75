#include "tools/keltoctl/LibraryPage.hpp"

#include <memory>
#include <string>

#include <glib.h>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/PageTemplate.hpp"

namespace kelto::ctl {

namespace {

using Put = std::function<void(std::string_view)>;

/// How a content policy names a text that it allows.
std::string policyHash(std::string_view text) {
    const Digest digest = sha256(text);
    const std::unique_ptr<gchar, decltype(&g_free)> encoded(
        g_base64_encode(digest.bytes.data(), digest.bytes.size()), &g_free);
    return "'sha256-" + std::string(encoded.get()) + "'";
}

/// No request to anywhere, no script and no style but the page's own, and no text that becomes
/// markup: even if the script below had a mistake, a title could not use it.
std::string policy() {
    return "default-src 'none'; img-src data:; style-src " + policyHash(pageTemplate::style) +
           "; script-src " + policyHash(pageTemplate::script) +
           "; base-uri 'none'; form-action 'none'; require-trusted-types-for 'script'; "
           "trusted-types 'none'";
}

/// JSON that stands between tags of HTML. "<" occurs in texts only, where it may be written so.
std::string markupSafe(std::string_view json) {
    return replacingAll(json, "<", "\\u003c");
}

void putPictures(const PagePictures& pictures, const Put& put) {
    pictures.write([&](std::size_t number, std::string_view address) {
        put("<script type=\"text/plain\" id=\"picture-" + std::to_string(number) + "\">");
        put(address);
        put("</script>\n");
    });
}

}  // namespace

PageReport writeLibraryPage(const Snapshot& snapshot,
                            PictureChoice choice,
                            std::int64_t nowMilliseconds,
                            const Put& put) {
    PageReport report;
    PagePictures pictures(choice);
    const std::string document =
        markupSafe(pageDocument(snapshot, nowMilliseconds, pictures, report));
    std::string_view rest = pageTemplate::html;
    const auto putUntil = [&](std::string_view mark) {
        const std::size_t at = rest.find(mark);
        put(rest.substr(0, at));
        rest.remove_prefix(at + mark.size());
    };
    putUntil("{{policy}}");
    put(policy());
    putUntil("{{style}}");
    put(pageTemplate::style);
    putUntil("{{library}}");
    put(document);
    putUntil("{{script}}");
    put(pageTemplate::script);
    putUntil("{{pictures}}");
    putPictures(pictures, put);
    put(rest);
    return report;
}

}  // namespace kelto::ctl
