// What a host gets when the disk fails below the database, as SQLite itself takes it, and that the
// library is well afterwards.

#include <cerrno>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FaultyDatabase.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::IsEmpty;

class NoRoomForAFile : public testing::TestWithParam<const char*> {};

TEST_P(NoRoomForAFile, IsNoMissingFile) {
    TestLibrary library;
    if (std::string_view(GetParam()) == "-wal") {
        (void)library.exchange();  // the store is there
        library.restart();
    }
    const RequestBuilder request = RequestBuilder().record(RecordBuilder::tag(identifier(1)));
    {
        const FaultyDatabase full(FaultyDatabase::Call::create, GetParam(), ENOSPC);
        EXPECT_EQ(library.exchange(request).error(),
                  "The library’s store “Kelto.store” couldn’t be opened. Its folder may be full, "
                  "or not writable.");
    }
    EXPECT_EQ(library.exchange(request).error(), "") << "room was made";
}

INSTANTIATE_TEST_SUITE_P(BrokenDisk, NoRoomForAFile, testing::Values("-journal", "-wal"));

TEST(BrokenDisk, PutsNoCommitInForceThatCannotBeFlushed) {
    TestLibrary library;
    (void)library.exchange();
    const RequestBuilder request = RequestBuilder().record(RecordBuilder::tag(identifier(1)));
    {
        const FaultyDatabase broken(FaultyDatabase::Call::sync, "Kelto.store-wal", EIO);
        EXPECT_EQ(library.exchange(request).error(),
                  "The library’s store “Kelto.store” couldn’t be used (disk I/O error: "
                  "Input/output error).");
    }
    library.restart();
    EXPECT_THAT(library.exchange().identifiers("Tag"), IsEmpty());
    EXPECT_EQ(library.exchange(request).error(), "");
}

TEST(BrokenDisk, KeepsTheLibraryAsItWasWhenItIsFull) {
    TestLibrary library;
    (void)library.exchange();
    const RequestBuilder request = RequestBuilder().record(RecordBuilder::tag(identifier(1)));
    {
        const FaultyDatabase full(FaultyDatabase::Call::write, "Kelto.store-wal", ENOSPC);
        EXPECT_EQ(library.exchange(request).error(),
                  "The library’s store “Kelto.store” couldn’t be saved because there isn’t enough "
                  "space.");
        EXPECT_THAT(library.exchange().identifiers("Tag"), IsEmpty());
    }
    EXPECT_EQ(library.exchange(request).error(), "") << "room was made";
}

TEST(BrokenDisk, LetsAStoreBeUsedOnceItCanBeWritten) {
    TestLibrary library;
    (void)library.exchange();
    library.restart();
    const RequestBuilder request = RequestBuilder().record(RecordBuilder::tag(identifier(1)));
    {
        const FaultyDatabase locked(FaultyDatabase::Call::openForWriting, "Kelto.store", EACCES);
        EXPECT_EQ(library.exchange(request).error(),
                  "The library’s store “Kelto.store” couldn’t be saved because it is read only.");
    }
    EXPECT_EQ(library.exchange(request).error(), "");
}

}  // namespace
}  // namespace kelto
