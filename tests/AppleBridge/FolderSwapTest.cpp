// Somebody who may write into the exchange folder changes it while exchanges run, so that names
// lead elsewhere in one moment and not in the next.

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

/// Does one thing again and again, on a thread of its own, as long as it lives.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> act)
        : thread_([this, act = std::move(act)] {
              while (!isOver_) {
                  act();
                  ++count_;
              }
          }) {}
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;
    ~Meanwhile() { stop(); }

    /// How often it was done.
    int stop() {
        isOver_ = true;
        if (thread_.joinable()) thread_.join();
        return count_;
    }

private:
    std::atomic<bool> isOver_ = false;
    std::atomic<int> count_ = 0;
    std::thread thread_;
};

/// Puts each of two files, folders or links in the place of the other, in one step.
void swapPlaces(const std::string& left, const std::string& right) {
    (void)::renameat2(AT_FDCWD, left.c_str(), AT_FDCWD, right.c_str(), RENAME_EXCHANGE);
}

class FolderSwap : public testing::Test {
protected:
    static constexpr int rounds = 150;

    FolderSwap() { fs::create_directories(outside); }

    static std::string thingId(int number) { return identifier(static_cast<unsigned>(number)); }
    /// Sends a thing with that file and answers what came in: nothing after an error.
    std::string bytesThatCameIn(int number, const std::string& path) {
        const std::string id = thingId(number);
        const Response response =
            library.exchange(RequestBuilder().record(RecordBuilder::thing(id).with("data", path)));
        return response.isError() ? "" : library.received(id, "data");
    }

    TestLibrary library;
    const std::string inside = library.exchangeFolder();
    const std::string outside = library.platform().folder.path("outside");
};

TEST_F(FolderSwap, OfAFolderByALinkNeverBringsInFilesFromOutside) {
    for (int i = 0; i < rounds; ++i) {
        writeFile(inside + "/sub/" + std::to_string(i), "inside");
        writeFile(outside + "/" + std::to_string(i), "outside");
    }
    fs::create_directory_symlink(outside, inside + "/link");
    Meanwhile swapping([&] { swapPlaces(inside + "/sub", inside + "/link"); });
    for (int i = 0; i < rounds; ++i) {
        const std::string way = i % 2 == 0 ? "/sub/" : "/sub/./";
        EXPECT_NE(bytesThatCameIn(i, inside + way + std::to_string(i)), "outside");
    }
    EXPECT_GT(swapping.stop(), 0);
}

TEST_F(FolderSwap, OfAFileByALinkNeverBringsInFilesFromOutside) {
    writeFile(outside + "/file", "outside");
    fs::create_symlink(outside + "/file", inside + "/link");
    for (int i = 0; i < rounds; ++i) {
        // A new one each time: what was read before is known by what the file system says of it.
        writeFile(inside + "/file", "inside");
        Meanwhile swapping([&] { swapPlaces(inside + "/file", inside + "/link"); });
        EXPECT_NE(bytesThatCameIn(i, inside + "/file"), "outside");
        swapping.stop();
        if (fs::is_symlink(inside + "/file")) swapPlaces(inside + "/file", inside + "/link");
    }
}

// --- "received"
// -----------------------------------------------------------------------------------

class ReceivedSwap : public FolderSwap {
protected:
    static constexpr int things = 12;  // more than one thread writes alone

    ReceivedSwap() {
        RequestBuilder request;
        for (int i = 0; i < things; ++i) {
            const std::string path = library.putFile("in/" + std::to_string(i), thingId(i));
            request.record(RecordBuilder::thing(thingId(i)).with("data", path));
            // Of the names that the library writes: an overwritten one shows.
            writeFile(outside + "/" + thingId(i) + ".data", "mine");
        }
        EXPECT_EQ(library.exchange(request).error(), "");
        before = filesBelow(outside);
    }
    void exportAgainAndAgain() {
        for (int i = 0; i < rounds; ++i) (void)library.exchange();
    }

    std::map<std::string, std::string> before;
};

TEST_F(ReceivedSwap, ByALinkNeverWritesOutside) {
    fs::create_directory_symlink(outside, inside + "/link");
    Meanwhile swapping([&] { swapPlaces(inside + "/received", inside + "/link"); });
    exportAgainAndAgain();
    EXPECT_GT(swapping.stop(), 0);
    EXPECT_EQ(filesBelow(outside), before);
}

TEST_F(ReceivedSwap, BetweenTwoFilesOfOneExportKeepsWritingIntoTheFolder) {
    const std::string moved = inside + "/moved";
    fs::remove_all(inside + "/received");
    library.platform().files->beforeNext(FileOperation::rename, [&] {
        fs::rename(inside + "/received", moved);
        fs::create_directory_symlink(outside, inside + "/received");
    });
    EXPECT_EQ(library.exchange().error(), "");
    EXPECT_EQ(filesBelow(outside), before);
    EXPECT_EQ(namesIn(moved).size(), static_cast<std::size_t>(things));
}

TEST_F(ReceivedSwap, OfFilesByLinksNeverWritesThroughThem) {
    int turn = 0;
    Meanwhile linking([&] {
        const std::string name = thingId(++turn % things) + ".data";
        std::error_code ignored;
        fs::create_symlink(outside + "/" + name, inside + "/link", ignored);
        fs::rename(inside + "/link", inside + "/received/" + name, ignored);
    });
    exportAgainAndAgain();
    EXPECT_GT(linking.stop(), 0);
    EXPECT_EQ(filesBelow(outside), before);
    EXPECT_EQ(library.exchange().error(), "");
    for (int i = 0; i < things; ++i) EXPECT_EQ(library.received(thingId(i), "data"), thingId(i));
}

TEST_F(ReceivedSwap, OfFilesByAnythingElseChangesNothingOutside) {
    const auto target = [&](int i) { return inside + "/received/" + thingId(i) + ".data"; };
    for (int i = 0; i < things; ++i) fs::remove(target(i));
    fs::create_symlink(outside + "/missing", target(0));
    fs::create_directory_symlink(outside, target(1));
    fs::create_symlink("../../outside/" + thingId(2) + ".data", target(2));
    fs::create_hard_link(outside + "/" + thingId(3) + ".data", target(3));
    EXPECT_EQ(library.exchange().error(), "");
    EXPECT_EQ(filesBelow(outside), before);
    for (int i = 0; i < things; ++i) EXPECT_EQ(library.received(thingId(i), "data"), thingId(i));

    fs::remove(target(4));
    fs::create_directory(target(4));
    EXPECT_THAT(library.exchange().error(), testing::HasSubstr(thingId(4) + ".data"));
    EXPECT_EQ(filesBelow(outside), before);
}

}  // namespace
}  // namespace kelto
