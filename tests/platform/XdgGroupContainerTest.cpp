#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "kelto/platform/linux/XdgGroupContainer.hpp"
#include "tests/support/FakeEnvironment.hpp"

namespace kelto {
namespace {

struct Case {
    const char* name;
    std::map<std::string, std::string> variables;
    std::optional<std::string> path;
};

void PrintTo(const Case& each, std::ostream* out) {
    *out << each.name;
}

class XdgGroupContainerCases : public testing::TestWithParam<Case> {};

TEST_P(XdgGroupContainerCases, FindsTheGroupsFolder) {
    const auto environment = std::make_shared<FakeEnvironment>();
    environment->values = GetParam().variables;
    EXPECT_EQ(XdgGroupContainer(environment).path("group.app.kelto"), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    Environments,
    XdgGroupContainerCases,
    testing::Values(
        Case{
            "DataHome", {{"XDG_DATA_HOME", "/data"}, {"HOME", "/home/a"}}, "/data/group.app.kelto"},
        Case{"DataHomeWithASlash", {{"XDG_DATA_HOME", "/data/"}}, "/data/group.app.kelto"},
        Case{"DataHomeIsTheRoot", {{"XDG_DATA_HOME", "/"}}, "/group.app.kelto"},
        Case{"HomeAlone", {{"HOME", "/home/a"}}, "/home/a/.local/share/group.app.kelto"},
        Case{"DataHomeEmpty",
             {{"XDG_DATA_HOME", ""}, {"HOME", "/home/a"}},
             "/home/a/.local/share/group.app.kelto"},
        Case{"DataHomeRelative",
             {{"XDG_DATA_HOME", "data"}, {"HOME", "/home/a"}},
             "/home/a/.local/share/group.app.kelto"},
        Case{"HomeRelative", {{"HOME", "home/a"}}, std::nullopt},
        Case{"BothRelative", {{"XDG_DATA_HOME", "data"}, {"HOME", "~"}}, std::nullopt},
        Case{"Nothing", {}, std::nullopt}),
    [](const auto& each) { return std::string(each.param.name); });

class XdgGroupIds : public testing::TestWithParam<std::string> {};

TEST_P(XdgGroupIds, HaveNoFolderWhenTheyNameNone) {
    const auto environment = std::make_shared<FakeEnvironment>();
    environment->values["XDG_DATA_HOME"] = "/data";
    EXPECT_EQ(XdgGroupContainer(environment).path(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Ids,
                         XdgGroupIds,
                         testing::Values("", "/", "a/b", "../b", ".", "..", std::string(1, '\0')));

TEST(XdgGroupContainer, LooksAtTheEnvironmentAnewEveryTime) {
    const auto environment = std::make_shared<FakeEnvironment>();
    XdgGroupContainer container(environment);
    environment->values["XDG_DATA_HOME"] = "/one";
    EXPECT_EQ(container.path("g"), "/one/g");
    environment->values["XDG_DATA_HOME"] = "/two";
    EXPECT_EQ(container.path("g"), "/two/g");
}

}  // namespace
}  // namespace kelto
