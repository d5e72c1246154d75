#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/keltoctl/FileDraft.hpp"
#include "tools/keltoctl/Host.hpp"
#include "tools/keltoctl/IncomingFolder.hpp"
#include "tools/keltoctl/TagNames.hpp"

namespace kelto::ctl {

/// Records that change together, sent in one exchange: nothing but them travels.
class ThingChange {
public:
    void add(const TagRecord& tag) { records_.push_back(toRecord(tag)); }
    void add(const ProjectRecord& project);
    void add(const ThingRecord& thing);
    void remove(const Item& item);

    /// Sends the records and prints `verb` ("Changed") with each item, and what travelled. Answers
    /// the exit status: refused when the library kept a newer version of a thing. Of a change that
    /// is only tried, nothing is sent: what it would do is printed.
    [[nodiscard]] int send(Host& host, Session& session, std::string_view verb, bool isOnlyTried);

private:
    [[nodiscard]] int preview(const Host& host, const Session& session) const;

    struct Sent {
        std::string id{};
        std::string name{};
        std::int64_t updatedAt = 0;
        bool isThing = false;
    };
    JsonElements records_;
    std::vector<Sent> sent_;
};

/// A stored thing on its way to be changed: updated now, based on the state at hand.
[[nodiscard]] ThingRecord changing(const ThingRecord& stored);

/// Gives the thing the file at `path`: its copy, name, type, size, and what its header says.
void attachFile(ThingRecord& thing, const std::string& path, IncomingFolder& incoming);

/// `value`, or standard input when it is "-".
[[nodiscard]] std::string textOrInput(const std::string& value);

}  // namespace kelto::ctl
