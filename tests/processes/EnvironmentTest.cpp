#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/HostLibrary.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

constexpr const char* notProvisioned = "This build is not provisioned for iCloud.";
constexpr const char* notInGroup = "The iCloud store must be in Kelto’s App Group.";

/// What a host in that environment sees: availability, line feed, group path or NULL.
std::string description(HostProcess::Options options) {
    options.arguments = {"describe"};
    HostProcess host(options);
    std::string text = host.receiveText();
    EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
    return text;
}

HostProcess::Options in(std::map<std::string, std::string> environment) {
    return {
        .program = KELTO_HOST, .arguments = {"exchange"}, .environment = std::move(environment)};
}

TEST(HostEnvironment, NamesTheGroupFolderInTheDataFolder) {
    EXPECT_EQ(description(in({{"XDG_DATA_HOME", "/somewhere/else"}, {"HOME", "/home/ada"}})),
              "1\n/somewhere/else/group.app.kelto");
}

TEST(HostEnvironment, NamesTheGroupFolderInTheHomeFolderOtherwise) {
    EXPECT_EQ(description(in({{"HOME", "/home/ada"}})),
              "1\n/home/ada/.local/share/group.app.kelto");
}

TEST(HostEnvironment, MayHoldAnyCharacter) {
    EXPECT_EQ(description(in({{"HOME", "/home/Ada Größe…"}})),
              "1\n/home/Ada Größe…/.local/share/group.app.kelto");
}

TEST(HostEnvironment, WithoutAnyFolderHasNoGroupPathButTheCloud) {
    EXPECT_EQ(description(in({})), "1\nNULL");
    EXPECT_EQ(description(in({{"XDG_DATA_HOME", "relative"}, {"HOME", ""}})), "1\nNULL");
}

TEST(HostEnvironment, WithoutAnyFolderRefusesAnExchange) {
    HostLibrary library;
    HostProcess host(in({}));
    EXPECT_EQ(host.ask(library.text()).response().error(), notInGroup);
    EXPECT_FALSE(exists(library.groupFolder()));
}

TEST(HostEnvironment, OfAnotherUserRefusesTheStore) {
    HostLibrary library;
    HostProcess host(in({{"XDG_DATA_HOME", library.folder().path("other")}}));
    EXPECT_EQ(host.ask(library.text()).response().error(), notInGroup);
    EXPECT_FALSE(exists(library.folder().path("other")));
}

struct Switch {
    const char* name;
    const char* variable;
    const char* value;
    bool available;
};

class CloudSwitch : public testing::TestWithParam<Switch> {};

TEST_P(CloudSwitch, DecidesAboutAvailabilityAndExchange) {
    HostLibrary library;
    HostProcess::Options options = library.process();
    options.environment[GetParam().variable] = GetParam().value;
    EXPECT_EQ(description(options), (GetParam().available ? "1\n" : "0\n") + library.groupFolder());
    HostProcess host(options);
    EXPECT_EQ(host.ask(library.text()).response().error(),
              GetParam().available ? "" : notProvisioned);
}

constexpr Switch switches[] = {{"Disabled", "KELTO_DISABLE_CLOUDKIT", "1", false},
                               {"DisabledByAnEmptyValue", "KELTO_DISABLE_CLOUDKIT", "", false},
                               {"DisabledByAnyValue", "KELTO_DISABLE_CLOUDKIT", "no", false},
                               {"NotEnabled", "KELTO_CLOUDKIT_ENABLED", "no", false},
                               {"EnabledByAZero", "KELTO_CLOUDKIT_ENABLED", "0", true},
                               {"EnabledByAnEmptyValue", "KELTO_CLOUDKIT_ENABLED", "", true}};
INSTANTIATE_TEST_SUITE_P(HostEnvironment,
                         CloudSwitch,
                         testing::ValuesIn(switches),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(HostEnvironment, OfABuildWithoutEntitlementsHasNeitherGroupNorCloud) {
    HostLibrary library;
    HostProcess::Options options = library.process();
    options.program = KELTO_HOST_WITHOUT_CLOUD;
    EXPECT_EQ(description(options), "0\nNULL");
    HostProcess host(options);
    EXPECT_EQ(host.ask(library.text()).response().error(), notProvisioned);
    EXPECT_EQ(host.ask("{}").response().error(), "Invalid bridge request.");
    EXPECT_FALSE(exists(library.groupFolder()));
}

}  // namespace
}  // namespace kelto
