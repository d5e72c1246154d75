#include <atomic>
#include <chrono>
#include <cstdio>
#include <set>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/StoreBackup.hpp"
#include "kelto/persistence/StoreInspection.hpp"
#include "kelto/persistence/StoreRestore.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/processes/HostLibrary.hpp"
#include "tests/processes/LongRun.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::int64_t firstMoment = 1'800'000'000'000;

std::vector<std::string> sentencesOf(const StoreReport& report) {
    std::vector<std::string> sentences;
    for (const StoreFinding& finding : report.findings) sentences.push_back(finding.sentence);
    return sentences;
}

/// One of several hosts of a library: a process that comes and goes, with files of its own.
class Contender {
public:
    Contender(const HostLibrary& library, unsigned number) : library_(library), number_(number) {}

    /// Exchanges until it is told to stop.
    void run(const std::atomic<bool>& isOver) {
        try {
            while (!isOver) {
                HostProcess host(library_.process());
                // A process now and then: opening and closing are part of the contest.
                for (int i = 0; i < 25 && !isOver; ++i) exchange(host);
                EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
            }
        } catch (const std::exception& error) {
            ADD_FAILURE() << "host " << number_ << ": " << error.what();
        }
    }

    /// Everything that was answered with a snapshot has to be in the library at the end.
    void expectAllIn(const Response& library) const {
        for (unsigned i = 0; i < done_; ++i) {
            EXPECT_NE(library.find(tag(i)), nullptr) << "host " << number_ << ", tag " << i;
        }
        EXPECT_EQ(library.string(own(), "title"), lastTitle_);
        EXPECT_EQ(readFile(library.string(own(), "data")), lastBytes_);
    }

    [[nodiscard]] unsigned done() const { return done_; }
    [[nodiscard]] unsigned refused() const { return refused_; }
    [[nodiscard]] std::chrono::milliseconds longest() const { return longest_; }

private:
    [[nodiscard]] std::string own() const { return identifier(number_); }
    [[nodiscard]] std::string tag(unsigned i) const {
        return identifier(1000 * (number_ + 1) + i * 100'000);
    }

    void exchange(HostProcess& host) {
        const std::string title = "by " + std::to_string(number_) + ", " + std::to_string(done_);
        const std::string bytes = title + std::string(100'000, 'x');
        const std::string common(80'000, 'c');
        const std::string folder = "host" + std::to_string(number_);
        RecordBuilder shared =
            RecordBuilder::thing(identifier(100 + number_)).with("updatedAt", firstMoment + done_);
        // The same bytes come and go in both: the one drops what the other takes up.
        if ((done_ + number_) % 2 == 0) {
            shared.with("data", library_.putFile(folder + "/common", common));
        }
        RequestBuilder request;
        request.record(RecordBuilder::tag(tag(done_)).with("name", title))
            .record(shared)
            .record(RecordBuilder::thing(own())
                        .with("title", title)
                        .with("updatedAt", firstMoment + done_)
                        .with("data", library_.putFile(folder + "/own", bytes)))
            .with("directory", library_.exchangeFolder() + "/" + folder);
        const auto begun = std::chrono::steady_clock::now();
        const Response response = host.ask(library_.text(request)).response();
        longest_ = std::max(longest_,
                            std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now() - begun));
        if (response.isError()) {
            EXPECT_THAT(response.error(), HasSubstr("is in use by another program. Try again"));
            ++refused_;
            return;
        }
        EXPECT_EQ(response.string(own(), "title"), title);
        EXPECT_EQ(readFile(response.string(own(), "data")), bytes);
        ++done_;
        lastTitle_ = title;
        lastBytes_ = bytes;
    }

    const HostLibrary& library_;
    unsigned number_;
    unsigned done_ = 0;
    unsigned refused_ = 0;
    std::chrono::milliseconds longest_{0};
    std::string lastTitle_;
    std::string lastBytes_;
};

/// Looks the library over and saves it, again and again, while the hosts are at work.
class Caretaker {
public:
    explicit Caretaker(const HostLibrary& library) : library_(library) {}

    void run(const std::atomic<bool>& isOver) {
        try {
            while (!isOver) {
                const std::string store = library_.libraryFolder() + "/Kelto.store";
                if (files_.status(store)) lookAfter(store);
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
        } catch (const std::exception& error) {
            ADD_FAILURE() << "caretaker: " << error.what();
        }
    }

    [[nodiscard]] unsigned done() const { return done_; }

private:
    void lookAfter(const std::string& store) {
        if (files_.status(store)->size == 0) return;  // just being made
        // A file that is dropped while others have the lock may stay until the store is opened
        // anew: that is looked at when all is over.
        EXPECT_THAT(sentencesOf(StoreInspection(librarySchema(), files_, store).run({})),
                    testing::Each(HasSubstr("belongs to no item")));
        const std::string backup = folder_.path("backup.tar");
        StoreBackup saving(librarySchema(), files_, clock_, random_, store, {});
        EXPECT_THAT(sentencesOf(saving.write(backup, StoreBackup::Damaged::refuse, {})), IsEmpty());
        StoreRestore restoring(librarySchema(),
                               files_,
                               clock_,
                               random_,
                               folder_.path("elsewhere/Library/Kelto.store"),
                               {});
        EXPECT_THAT(sentencesOf(restoring.unpack(backup, {})), IsEmpty());
        ++done_;
    }

    const HostLibrary& library_;
    TemporaryFolder folder_;
    PosixFileSystem files_;
    FakeClock clock_;
    SeededRandom random_{5};
    unsigned done_ = 0;
};

TEST(TwoHosts, LoseNothingWhenTheyExchangeAtOnce) {
    const int seconds = longRun("KELTO_SOAK_SECONDS", 4);
    HostLibrary library;
    (void)library.exchangeOnce();
    Contender one(library, 1);
    Contender other(library, 2);
    Caretaker caretaker(library);
    std::atomic<bool> isOver = false;
    {
        std::thread first([&] { one.run(isOver); });
        std::thread second([&] { other.run(isOver); });
        std::thread third([&] { caretaker.run(isOver); });
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        isOver = true;
        first.join();
        second.join();
        third.join();
    }
    const Response end = library.exchangeOnce();
    one.expectAllIn(end);
    other.expectAllIn(end);
    EXPECT_EQ(end.identifiers("Tag").size(), one.done() + other.done());
    EXPECT_GT(one.done(), 0U);
    EXPECT_GT(other.done(), 0U);
    EXPECT_GT(caretaker.done(), 0U);
    PosixFileSystem files;
    EXPECT_THAT(sentencesOf(StoreInspection(
                                librarySchema(), files, library.libraryFolder() + "/Kelto.store")
                                .run({})),
                IsEmpty());
    std::printf(
        "two hosts, %d s: %u and %u exchanges, %u refused as busy, the longest took %lld ms; %u "
        "backups\n",
        seconds,
        one.done(),
        other.done(),
        one.refused() + other.refused(),
        static_cast<long long>(std::max(one.longest(), other.longest()).count()),
        caretaker.done());
}

TEST(TwoHosts, AreToldWhenOneIsAtWorkForTooLong) {
    HostLibrary library;
    (void)library.exchangeOnce();
    SqliteDatabase atWork(library.libraryFolder() + "/Kelto.store", std::chrono::seconds(1));
    atWork.run("BEGIN IMMEDIATE");
    HostProcess host(library.process());
    const auto begun = std::chrono::steady_clock::now();
    const Response response = host.ask(library.text()).response();
    const auto waited = std::chrono::steady_clock::now() - begun;
    EXPECT_EQ(response.error(),
              "The library’s store “Kelto.store” is in use by another program. Try again when that "
              "has finished.");
    EXPECT_GE(waited, std::chrono::milliseconds(4900));
    EXPECT_LT(waited, std::chrono::seconds(20));
    atWork.run("ROLLBACK");
    EXPECT_FALSE(host.ask(library.text()).response().isError());
}

}  // namespace
}  // namespace kelto
