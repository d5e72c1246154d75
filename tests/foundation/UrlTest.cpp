#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Url.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view none = "(none)";

std::string textOfUrl(std::string_view text) {
    const std::optional<Url> url = Url::parse(text);
    return url ? url->text() : std::string(none);
}

std::string schemeOf(std::string_view text) {
    return Url::parse(text).value().scheme().value_or(std::string(none));
}

std::string hostOf(std::string_view text) {
    return Url::parse(text).value().host().value_or(std::string(none));
}

std::vector<std::string> componentsOf(std::string_view text) {
    return Url::parse(text).value().pathComponents();
}

struct UrlCase {
    std::string_view name;
    std::string_view text;
    std::string_view expected;
};

void PrintTo(const UrlCase& urlCase, std::ostream* out) {
    *out << testing::PrintToString(urlCase.text);
}

class UrlText : public testing::TestWithParam<UrlCase> {};

TEST_P(UrlText, IsEncodedWhereItMustBe) {
    EXPECT_EQ(textOfUrl(GetParam().text), GetParam().expected);
}

TEST_P(UrlText, IsNotEncodedTwice) {
    const std::string once = textOfUrl(GetParam().text);
    EXPECT_EQ(textOfUrl(once), once);
}

constexpr UrlCase textCases[] = {
    {"Blank", " ", "%20"},
    {"Relative", "foo", "foo"},
    {"RelativeWithQueryAndFragment", "foo/bar?x=1#z", "foo/bar?x=1#z"},
    {"SchemeAlone", "http:", "http:"},
    {"SchemeAndPath", "http:h", "http:h"},
    {"EmptyHost", "http://", "http://"},
    {"EmptyHostAndRoot", "http:///", "http:///"},
    {"HostAlone", "http://host", "http://host"},
    {"HostWithoutScheme", "//host/x", "//host/x"},
    {"EmptyScheme", ":foo", ":foo"},
    {"DigitBeforeTheColonIsARelativePath", "1a:b", "1a:b"},
    {"BlankInThePath", "http://h/a b", "http://h/a%20b"},
    {"PercentWithoutDigits", "http://h/a%zz", "http://h/a%25zz"},
    {"PercentAtTheEnd", "http://h/%", "http://h/%25"},
    {"PercentAndOneDigit", "http://h/%4", "http://h/%254"},
    {"EscapeIsLeftAlone", "http://h/%e9%C3", "http://h/%e9%C3"},
    {"AccentInThePath", "http://h/é", "http://h/%C3%A9"},
    {"Brackets", "http://h/a[b]", "http://h/a%5Bb%5D"},
    {"OtherMarks", "http://h/|\\\"<>^{}`", "http://h/%7C%5C%22%3C%3E%5E%7B%7D%60"},
    {"LineFeedAndTab", "http://h/\n\t", "http://h/%0A%09"},
    {"Nul", "http://h/a\0b"sv, "http://h/a%00b"},
    {"PlainMarks", "http://h/-._~!$&'()*+,;=:@", "http://h/-._~!$&'()*+,;=:@"},
    {"QueryMarks", "http://h/?a/b?c[d] é", "http://h/?a/b?c%5Bd%5D%20%C3%A9"},
    {"SecondNumberSign", "http://h/#a#b", "http://h/#a%23b"},
    {"AtSignInTheUser", "http://a@b@c/", "http://a%40b@c/"},
    {"UserAndPassword", "http://u:p@h/", "http://u:p@h/"},
    {"EmptyPort", "http://h:/", "http://h:/"},
    {"PortBeyondAnyNumber", "http://h:99999999999999999999/", "http://h:99999999999999999999/"},
    {"Address", "http://[::1]:80/x", "http://[::1]:80/x"},
    {"AddressWithZone", "http://[fe80::1%en0]/", "http://[fe80::1%25en0]/"},
    {"AddressWithZoneOfHexDigits", "http://[fe80::1%ee0]/", "http://[fe80::1%25ee0]/"},
    {"FutureAddress", "http://[v1.a:b]/", "http://[v1.a:b]/"},
    {"HostInAnotherScript", "http://exaé.com/", "http://xn--exa-dma.com/"},
    {"HostInAnotherScriptUnderAnyScheme", "x://exaé.com/", "x://xn--exa-dma.com/"},
    {"BlankInTheHostOfAnotherScheme", "x://ho st/", "x://ho%20st/"},
    {"BlankInTheHostWithoutScheme", "//ho st/", "//ho%20st/"},
    {"PercentInTheHostOfAnotherScheme", "x://ho%zz/", "x://ho%25zz/"},
    {"CaseIsKept", "HTTP://HoSt/", "HTTP://HoSt/"},
    {"DotsAreKept", "http://h/a/../b/./c", "http://h/a/../b/./c"},
    {"IllFormedBytesAreRepairedFirst", "http://h/\xFF", "http://h/%EF%BF%BD"},
};

INSTANTIATE_TEST_SUITE_P(Url, UrlText, testing::ValuesIn(textCases), caseName<UrlCase>);

class UrlRefused : public testing::TestWithParam<UrlCase> {};

TEST_P(UrlRefused, IsNone) {
    EXPECT_EQ(Url::parse(GetParam().text), std::nullopt);
}

constexpr UrlCase refusedCases[] = {
    {"Empty", "", ""},
    {"BlankBeforeTheColon", "a b:c", ""},
    {"BlanksBeforeTheColon", " x y:z", ""},
    {"AccentInTheScheme", "é://h", ""},
    {"PercentInTheScheme", "a%20b:c", ""},
    {"NulInTheScheme", "a\0:b"sv, ""},
    {"BlankInTheHost", "http://ho st/", ""},
    {"BlankInTheHostWhateverTheLetterCase", "HTTPS://ho st/", ""},
    {"BlankInFront", " http://h", ""},
    {"BlankBehind", "http://h ", ""},
    {"NulInTheHost", "http://h\0/"sv, ""},
    {"PortOfLetters", "http://h:abc/", ""},
    {"PortOfLettersUnderAnyScheme", "x://h:abc/", ""},
    {"AddressWithoutBracketsBecauseItsEndWouldBeAPort", "http://::1/", ""},
    {"OpenBracket", "http://[::1", ""},
    {"TextBehindTheBracket", "http://[::1]x/", ""},
    {"NoAddressInTheBrackets", "http://[host]/", ""},
    {"AccentInTheBrackets", "http://[é]/", ""},
    {"BracketInsideTheHost", "http://h[::1]/", ""},
    {"PercentInTheHost", "http://ho%zz/", ""},
    {"BackslashInTheHost", "http://h\\x/", ""},
    {"CharacterThatStandsForADelimiter", "http://\u2100.com/", ""},
    {"FullWidthPercentSign", "http://a％41.com/", ""},
    {"AccentAndEscapeInOneHost", "http://é%41.com/", ""},
    {"LabelThatCannotBeEncoded", "http://\u0301a.com/", ""},
    {"IllFormedHost", "http://h\xFF/", ""},
};

INSTANTIATE_TEST_SUITE_P(Url, UrlRefused, testing::ValuesIn(refusedCases), caseName<UrlCase>);

class UrlScheme : public testing::TestWithParam<UrlCase> {};

TEST_P(UrlScheme, IsWhatIsWrittenBeforeTheColon) {
    EXPECT_EQ(schemeOf(GetParam().text), GetParam().expected);
}

constexpr UrlCase schemeCases[] = {
    {"Ordinary", "http://h", "http"},
    {"CaseIsKept", "HtTp://h", "HtTp"},
    {"AllItsCharacters", "a+1-2.z:b", "a+1-2.z"},
    {"Alone", "http:", "http"},
    {"Empty", ":foo", ""},
    {"NoneInARelativePath", "foo/a:b", none},
    {"NoneBeforeAHost", "//host/x", none},
    {"NoneThatBeginsWithADigit", "1a:b", none},
};

INSTANTIATE_TEST_SUITE_P(Url, UrlScheme, testing::ValuesIn(schemeCases), caseName<UrlCase>);

class UrlHost : public testing::TestWithParam<UrlCase> {};

TEST_P(UrlHost, IsDecodedAndStandsAlone) {
    EXPECT_EQ(hostOf(GetParam().text), GetParam().expected);
}

constexpr UrlCase hostCases[] = {
    {"Ordinary", "http://host/x", "host"},
    {"CaseIsKept", "http://WWW.Host/", "WWW.Host"},
    {"WithoutScheme", "//host/x", "host"},
    {"EscapeIsDecoded", "http://%48ost/", "Host"},
    {"EscapedNulIsKept", "http://a%00b/", "a%00b"},
    {"EscapeThatIsNoUtf8", "http://a%FFb/", "a\uFFFDb"},
    {"WithoutUserAndPort", "http://user:pass@h:80/", "h"},
    {"BehindTheLastAtSign", "http://a@b@c/", "c"},
    {"EmptyPort", "http://h:/", "h"},
    {"AddressWithoutBrackets", "http://[::1]:80/x", "::1"},
    {"AddressWithZone", "http://[fe80::1%en0]/", "fe80::1%en0"},
    {"AddressWithEncodedZone", "http://[fe80::1%25en0]/", "fe80::1%en0"},
    {"FourNumbers", "http://127.0.0.1:8080/", "127.0.0.1"},
    {"InAnotherScript", "http://exaé.com/", "xn--exa-dma.com"},
    {"BlankOfAnotherScheme", "x://ho st/", "ho st"},
    {"NoneWhenEmpty", "http://", none},
    {"NoneWhenEmptyBeforeAPath", "file:///a/b", none},
    {"NoneWhenOnlyAPort", "http://:80/", none},
    {"NoneWhenOnlyAUser", "http://user@/", none},
    {"NoneWithoutAuthority", "http:h", none},
    {"NoneInARelativePath", "foo/bar", none},
};

INSTANTIATE_TEST_SUITE_P(Url, UrlHost, testing::ValuesIn(hostCases), caseName<UrlCase>);

TEST(UrlPath, HasTheRootFirstAndNoEmptyComponents) {
    EXPECT_THAT(componentsOf("http://h//a//b/"), ElementsAre("/", "a", "b"));
    EXPECT_THAT(componentsOf("http://h/"), ElementsAre("/"));
    EXPECT_THAT(componentsOf("http:///"), ElementsAre("/"));
    EXPECT_THAT(componentsOf("file:///a/b"), ElementsAre("/", "a", "b"));
    EXPECT_THAT(componentsOf("/a"), ElementsAre("/", "a"));
}

TEST(UrlPath, HasNoComponentsWhenItIsEmpty) {
    EXPECT_THAT(componentsOf("http://host"), IsEmpty());
    EXPECT_THAT(componentsOf("http:"), IsEmpty());
    EXPECT_THAT(componentsOf("http://host?a/b#c/d"), IsEmpty());
}

TEST(UrlPath, HasNoRootWhenItIsRelative) {
    EXPECT_THAT(componentsOf("foo/bar?x/y#z"), ElementsAre("foo", "bar"));
    EXPECT_THAT(componentsOf("http:h"), ElementsAre("h"));
    EXPECT_THAT(componentsOf(":foo"), ElementsAre("foo"));
    EXPECT_THAT(componentsOf("::foo"), ElementsAre(":foo"));
    EXPECT_THAT(componentsOf("1a:b/c"), ElementsAre("1a:b", "c"));
}

TEST(UrlPath, DecodesEachComponentByItself) {
    EXPECT_THAT(componentsOf("http://h/a%2Fb/c"), ElementsAre("/", "a/b", "c"));
    EXPECT_THAT(componentsOf("http://h/%2F"), ElementsAre("/", "/"));
    EXPECT_THAT(componentsOf("http://h/a b/é"), ElementsAre("/", "a b", "é"));
    EXPECT_THAT(componentsOf("http://h/a%00"), ElementsAre("/", std::string("a\0", 2)));
    EXPECT_THAT(componentsOf("http://h/%FF"), ElementsAre("/", "\uFFFD"));
}

TEST(UrlPath, KeepsDots) {
    EXPECT_THAT(componentsOf("http://h/a/../b"), ElementsAre("/", "a", "..", "b"));
}

TEST(Url, IsComparedByItsText) {
    EXPECT_EQ(Url::parse("http://h/a b"), Url::parse("http://h/a%20b"));
    EXPECT_FALSE(Url::parse("http://h") == Url::parse("http://h/"));
    EXPECT_FALSE(Url::parse("http://h") == Url::parse("http://H"));
    EXPECT_FALSE(Url::parse("http://h") == Url::parse("HTTP://h"));
}

TEST(Url, ReadsMegabytes) {
    constexpr std::size_t length = 1'000'000;
    const std::string letters(length, 'a');
    EXPECT_EQ(textOfUrl("http://h/" + letters).size(), length + 9);
    EXPECT_EQ(textOfUrl("http://h/?" + letters).size(), length + 10);
    EXPECT_EQ(textOfUrl("http://h/#" + letters).size(), length + 10);
    EXPECT_EQ(textOfUrl(letters + ":").size(), length + 1);
    EXPECT_EQ(hostOf("http://" + letters).size(), length);
    EXPECT_EQ(hostOf("http://" + letters + "@h"), "h");
    EXPECT_EQ(textOfUrl("http://h/" + std::string(length, '%')).size(), 3 * length + 9);
    EXPECT_THAT(componentsOf("http://h" + std::string(length, '/')), ElementsAre("/"));
}

TEST(Url, RefusesAHostOfMegabytesInAnotherScript) {
    std::string host;
    for (int index = 0; index < 500'000; ++index) host += "é";
    EXPECT_EQ(Url::parse("http://" + host), std::nullopt);
}

}  // namespace
}  // namespace kelto
