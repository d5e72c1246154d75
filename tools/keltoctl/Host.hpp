#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/HostState.hpp"
#include "tools/keltoctl/Library.hpp"
#include "tools/keltoctl/Session.hpp"
#include "tools/keltoctl/Terminal.hpp"

namespace kelto::ctl {

struct HostOptions {
    bool json = false;       ///< one JSON document on standard output instead of text
    bool noRefresh = false;  ///< work on the last answer, as a host that was away would
    ColourWish colour = ColourWish::automatic;
};

/// What a command has at hand: the library, this host's memory of it, and the two outputs.
class Host {
public:
    Host(Library& library, HostOptions options)
        : library_(library), options_(options), appearance_(standardAppearance(options.colour)) {}

    [[nodiscard]] Library& library() { return library_; }
    /// Throws Refusal when the library has no place in this build or on this system.
    [[nodiscard]] std::string storePath();
    /// The conversation, begun on first use with what the last run knew.
    [[nodiscard]] Session& session();
    /// The same after it asked for the library's present state, unless that is not wanted.
    [[nodiscard]] Session& freshSession();

    /// The same for a change that is only tried: a library that is not there yet is not made.
    [[nodiscard]] Session& sessionFor(bool isOnlyTried);

    [[nodiscard]] bool wantsJson() const { return options_.json; }
    /// Of what is printed for people.
    [[nodiscard]] const Appearance& appearance() const { return appearance_; }
    /// Prints the one or the other, as the user asked.
    void print(std::string_view text, const JsonValue& document) const;
    /// One sentence on standard error.
    static void complain(std::string_view sentence);

    [[nodiscard]] static std::int64_t nowMilliseconds();

private:
    Library& library_;
    HostOptions options_;
    Appearance appearance_;
    std::unique_ptr<HostState> state_;
    std::unique_ptr<Session> session_;
};

/// A command with its options read, ready to run. Answers the exit status.
using Command = std::function<int(Host&)>;

namespace exitStatus {
inline constexpr int done = 0;
inline constexpr int refused = 1;
inline constexpr int wrongUsage = 2;
}  // namespace exitStatus

}  // namespace kelto::ctl
