// What a person sees of a host's exchanges on its standard error, asked for by GLib's own variable.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/HostLibrary.hpp"

namespace kelto {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// What a host writes to its standard error about an exchange that succeeds and one that does not,
/// with marked words in all that the library is given.
std::string told(const HostLibrary& library, const std::optional<std::string>& messagesDebug) {
    HostProcess::Options options = library.process();
    if (messagesDebug) options.environment["G_MESSAGES_DEBUG"] = *messagesDebug;
    HostProcess host(options);
    const auto thing = [&](const std::string& file) {
        return library.text(RequestBuilder().record(RecordBuilder::thing(identifier(1))
                                                        .with("title", "Sesame title")
                                                        .with("fileName", "Sesame name")
                                                        .with("updatedAt", 1000)
                                                        .with("data", file)));
    };
    const std::string good = thing(library.putFile("Sesame file", "Sesame bytes"));
    EXPECT_FALSE(host.ask(good).response().isError());
    EXPECT_THAT(host.ask(thing(library.exchangeFolder() + "/Sesame missing")).text,
                HasSubstr("Sesame missing"))
        << "the host's own sentence names the file";
    EXPECT_EQ(host.wait(), HostEnd());
    return host.standardError();
}

TEST(HostDiagnostics, AreSilentUnlessAskedFor) {
    HostLibrary library;
    EXPECT_EQ(told(library, std::nullopt), "");
    EXPECT_EQ(told(library, "Gtk GLib"), "");
}

class AskedFor : public testing::TestWithParam<const char*> {};

TEST_P(AskedFor, ShowTheStagesWithCountsAndTimesAndNothingElse) {
    HostLibrary library;
    const std::string shown = told(library, GetParam());
    for (const char* line : {"exchange 1 received: bytes [0-9]+, records 1, read 1 ",
                             "exchange 1 opened: loaded 0 ",
                             "exchange 1 merged: created 1, applied 1, kept 0, skipped 0, "
                             "conflicts 0, deleted 0, files [0-9]+, bytes 12 ",
                             "exchange 1 saved: rows 2 ",
                             "exchange 1 exported: records 1, files 1, bytes 12 ",
                             "exchange 1 answered: bytes [0-9]+ ",
                             "exchange 2 received: bytes [0-9]+, records 1, read 1 ",
                             "exchange 2 refused: file, code 260 "}) {
        EXPECT_THAT(shown, ContainsRegex(line + std::string("\\([0-9]+\\.[0-9]+ ms\\)\n")));
    }
    EXPECT_THAT(shown, HasSubstr("kelto-DEBUG"));
    EXPECT_THAT(shown, Not(HasSubstr("Sesame")));
}

INSTANTIATE_TEST_SUITE_P(HostDiagnostics, AskedFor, testing::Values("kelto", "all", "Gtk kelto"));

}  // namespace
}  // namespace kelto
