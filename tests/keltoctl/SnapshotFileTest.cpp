#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/SnapshotFile.hpp"

namespace kelto::ctl {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::string one = "11111111-1111-4111-8111-111111111111";
const std::string two = "22222222-2222-4222-8222-222222222222";

class Snapshots : public testing::Test {
protected:
    SnapshotFile file(const std::string& name, const std::string& records) {
        return SnapshotFile(folder.write(name, R"({"records":[)" + records + "]}"));
    }
    std::vector<RecordDifference> between(const std::string& first, const std::string& second) {
        return differences(file("a.json", first), file("b.json", second));
    }
    static std::string thing(const std::string& members, const std::string& id = one) {
        return R"({"recordType":"Thing","uuid":")" + id + R"(","kind":"note","title":"t",)" +
               members + "}";
    }
    std::string refusalOf(const std::string& text) {
        try {
            const SnapshotFile read(folder.write("broken.json", text));
            return "";
        } catch (const WrongUsage& refusal) {
            return refusal.what();
        }
    }

    TemporaryFolder folder;
};

TEST_F(Snapshots, InWhateverOrderAreTheSame) {
    const std::string first = thing(R"("tags":["b","a"])");
    const std::string second = thing(R"("note":"n")", two);
    EXPECT_THAT(between(first + "," + second, second + "," + thing(R"("tags":["a","b"])")),
                IsEmpty());
}

TEST_F(Snapshots, TellWhatOnlyOneOfThemHolds) {
    const auto found = between(thing(R"("note":"n")"), thing(R"("note":"n")", two));
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].kind, RecordDifference::Kind::onlyInFirst);
    EXPECT_EQ(found[0].id, one);
    EXPECT_EQ(found[1].kind, RecordDifference::Kind::onlyInSecond);
    EXPECT_EQ(found[1].id, two);
}

TEST_F(Snapshots, TellEachFieldAndWhichIsLater) {
    const auto found = between(thing(R"("note":"old","updatedAt":1000)"),
                               thing(R"("note":"new","updatedAt":4000)"));
    ASSERT_THAT(found, SizeIs(1));
    ASSERT_THAT(found[0].fields, SizeIs(2));
    EXPECT_EQ(found[0].fields[0].field, "updatedAt");
    EXPECT_EQ(found[0].fields[1].field, "note");
    EXPECT_EQ(*found[0].fields[1].before->string(), "old");
    EXPECT_EQ(*found[0].fields[1].after->string(), "new");
    EXPECT_EQ(found[0].laterInSecond, 3000);
}

TEST_F(Snapshots, TellWhetherAHostsVersionIsBasedOnTheLibrarys) {
    const std::string library = thing(R"("note":"a","fileFingerprint":"f")");
    EXPECT_EQ(between(library, thing(R"("baseFileFingerprint":"f")"))[0].isBasedOnOther, true);
    EXPECT_EQ(between(library, thing(R"("baseFileFingerprint":"g")"))[0].isBasedOnOther, false);
    EXPECT_EQ(between(library, thing(R"("note":"b")"))[0].isBasedOnOther, std::nullopt);
}

TEST_F(Snapshots, AreReadAsTheLibraryReadsThem) {
    EXPECT_THAT(between(thing(R"("note":"")"), thing(R"("aspectRatio":1.0)")), IsEmpty());
    EXPECT_THAT(between(thing(R"("note":"","fingerprint":"x")"), thing(R"("note":"")")), IsEmpty())
        << "a request has no fingerprint";
    EXPECT_THAT(between(R"({"recordType":"Tag","uuid":"ABCDEF00-1111-4111-8111-111111111111"})",
                        R"({"recordType":"Tag","uuid":"abcdef00-1111-4111-8111-111111111111"})"),
                IsEmpty());
}

TEST_F(Snapshots, CompareTheBytesOfPayloadsWhereverTheyLie) {
    const std::string here = folder.write("here/x.data", "bytes");
    const std::string there = folder.write("there/x.data", "bytes");
    const std::string other = folder.write("there/y.data", "other");
    const auto with = [](const std::string& path) { return thing(R"("data":")" + path + R"(")"); };
    EXPECT_THAT(between(with(here), with(there)), IsEmpty());
    EXPECT_THAT(between(with(here), with(other)), SizeIs(1));
    EXPECT_THAT(between(with(here), with("/no/such/file")), SizeIs(1));
}

// A document may name anything as a payload: comparing must end.
TEST_F(Snapshots, CompareTheBytesOfOrdinaryFilesOnly) {
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto differ = [&](const std::string& first, const std::string& second) {
        return between(thing(R"("data":")" + first + "\""), thing(R"("data":")" + second + "\""));
    };
    EXPECT_THAT(differ("/dev/zero", "/dev/./zero"), SizeIs(1));
    EXPECT_THAT(differ(pipe, folder.write("file", "x")), SizeIs(1));
    EXPECT_THAT(differ(folder.path(), folder.path(".")), SizeIs(1));
}

TEST_F(Snapshots, CompareLargePayloadsToTheirEnd) {
    const std::string bytes(200'000, 'x');
    const auto differ = [&](const std::string& second) {
        return between(thing(R"("data":")" + folder.write("one", bytes) + "\""),
                       thing(R"("data":")" + folder.write("other", second) + "\""));
    };
    EXPECT_THAT(differ(bytes), IsEmpty());
    EXPECT_THAT(differ(bytes.substr(1) + "y"), SizeIs(1));
    EXPECT_THAT(differ(bytes + "y"), SizeIs(1));
    EXPECT_THAT(differ(""), SizeIs(1));
}

TEST_F(Snapshots, ThatAreBrokenAreRefusedWithTheirPlace) {
    EXPECT_THAT(refusalOf("{\"records\":[\n{]}"),
                AllOf(HasSubstr("broken.json”"), HasSubstr("line 2, column 2")));
    EXPECT_THAT(refusalOf("[]"), HasSubstr("no list “records”"));
    EXPECT_THAT(refusalOf(R"({"records":[{"recordType":"Tag","uuid":"x"}]})"),
                HasSubstr("record 1 has no identifier"));
    EXPECT_THAT(refusalOf(R"({"records":[)" + thing(R"("note":"")") + R"(,{"recordType":"tag"}]})"),
                HasSubstr("record 2 is neither"));
    EXPECT_THROW(SnapshotFile(folder.path("none")), WrongUsage);
}

}  // namespace
}  // namespace kelto::ctl
