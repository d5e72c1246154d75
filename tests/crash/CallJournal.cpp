#include "tests/crash/CallJournal.hpp"

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "tests/support/Files.hpp"

namespace kelto {

std::vector<JournalEntry> readJournal(const std::string& path) {
    const std::string contents = readFile(path);
    std::string_view rest = contents;
    const auto take = [&rest](std::uint64_t count) {
        if (count > rest.size()) throw std::runtime_error("the journal is cut");
        const std::string_view taken = rest.substr(0, count);
        rest.remove_prefix(count);
        return taken;
    };
    std::vector<JournalEntry> entries;
    while (!rest.empty()) {
        journal_head head{};
        std::memcpy(&head, take(sizeof head).data(), sizeof head);
        JournalEntry entry;
        entry.kind = static_cast<call_kind>(head.kind);
        entry.path = take(head.path_bytes);
        entry.otherPath = take(head.other_bytes);
        entry.inode = head.inode;
        entry.offset = head.offset;
        entry.bytes = take(head.data_bytes);
        entry.end = contents.size() - rest.size();
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace kelto
