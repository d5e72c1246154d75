#include "tools/keltoctl/Host.hpp"

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

std::string Host::storePath() {
    const auto group = library_.groupPath();
    if (!group)
        throw Refusal(
            "this build has no group container; set HOME or XDG_DATA_HOME to an absolute path, or "
            "build the library with the application-groups entitlement.");
    return joinedPath(*group, "Library/Kelto.store");
}

Session& Host::session() {
    if (!session_) {
        const std::string store = storePath();
        state_ = std::make_unique<HostState>(HostState::baseFolder(), store);
        session_ = std::make_unique<Session>(library_, *state_, store);
    }
    return *session_;
}

Session& Host::freshSession() {
    Session& known = session();
    if (!options_.noRefresh || !known.hasSnapshot()) known.refresh();
    return known;
}

Session& Host::sessionFor(bool isOnlyTried) {
    std::error_code ignored;
    const bool isThere = std::filesystem::exists(storePath(), ignored);
    return isOnlyTried && !isThere ? session() : freshSession();
}

void Host::print(std::string_view text, const JsonValue& document) const {
    const std::string output =
        options_.json ? terminalSafeJson(document.indentedText()) + "\n" : std::string(text);
    std::fwrite(output.data(), 1, output.size(), stdout);
}

void Host::complain(std::string_view sentence) {
    const std::string line = "keltoctl: " + terminalSafe(sentence) + "\n";
    std::fputs(line.c_str(), stderr);
}

std::int64_t Host::nowMilliseconds() {
    using std::chrono::system_clock;
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               system_clock::now().time_since_epoch())
        .count();
}

}  // namespace kelto::ctl
