#include <gtest/gtest.h>

#include "tools/keltoctl/LinkFile.hpp"

namespace kelto::ctl {
namespace {

TEST(LinkFile, DecodesTheEntitiesOfAWebloc) {
    const auto link = readWebloc(
        "<plist><dict><key>URL</key>\n\t<string>https://a.example/?x=1&amp;y=&lt;2&gt;</string>"
        "</dict></plist>");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->url, "https://a.example/?x=1&y=<2>");
}

TEST(LinkFile, DecodesAnEscapedEntityOnce) {
    const auto link = readWebloc("<key>URL</key><string>https://a.example/&amp;lt;</string>");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->url, "https://a.example/&lt;");
}

TEST(LinkFile, TakesNoOtherKeysValueForTheAddress) {
    EXPECT_FALSE(readWebloc("<key>URL</key><integer>1</integer><key>b</key><string>c</string>"));
    EXPECT_FALSE(readWebloc("<key>URL</key><string>https://cut.example"));
    EXPECT_FALSE(readWebloc(""));
}

TEST(LinkFile, ReadsAnInternetShortcutWithForeignLineEnds) {
    const auto link = readInternetShortcut(
        "[Other]\r\nURL=https://wrong.example\r\n[internetshortcut]\r\nurl = "
        "https://a.example/?a=b\r\n");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->url, "https://a.example/?a=b");
}

TEST(LinkFile, HasNoAddressWhereTheShortcutNamesNone) {
    EXPECT_FALSE(readInternetShortcut("[InternetShortcut]\nURL=\n"));
    EXPECT_FALSE(readInternetShortcut("URL=https://outside.example"));
}

TEST(LinkFile, ReadsADesktopLinkWithItsName) {
    const auto link =
        readDesktopLink("[Desktop Entry]\nType=Link\nName=Books\nURL=https://a.example\n");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->url, "https://a.example");
    EXPECT_EQ(link->title, "Books");
}

TEST(LinkFile, PassesOverADesktopFileThatStartsAProgram) {
    EXPECT_FALSE(readDesktopLink("[Desktop Entry]\nType=Application\nURL=https://a.example\n"));
}

}  // namespace
}  // namespace kelto::ctl
