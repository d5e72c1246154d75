#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/Fingerprints.hpp"
#include "kelto/AppleBridge/ResponseMemory.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

// What is printed into the last text must be what a text printed as a whole would be.

namespace kelto {
namespace {

/// A library without a store: things in the order of their creation, and what stands around them.
class Library {
public:
    explicit Library(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) add();
    }

    Thing& add() {
        owned_.push_back(
            std::make_unique<Thing>(environment_, ThingKind::note, "title “" + name() + "”"));
        ++populationNumber_;
        return *owned_.back();
    }
    void remove(std::size_t place) {
        owned_.erase(owned_.begin() + static_cast<std::ptrdiff_t>(place));
        ++populationNumber_;
    }
    [[nodiscard]] Thing& at(std::size_t place) { return *owned_[place]; }
    [[nodiscard]] std::size_t size() const { return owned_.size(); }

    [[nodiscard]] ResponseBasis basis() const {
        return {populationNumber_,
                environment_.lastChange(),
                "/exchange",
                receivedFolder,
                std::nullopt,
                tail};
    }
    /// As an exchange asks for it.
    [[nodiscard]] LargeText response(ResponseMemory& memory) const {
        if (const auto last = memory.find(basis())) return *last;
        std::vector<Thing*> things;
        for (const auto& thing : owned_) things.push_back(thing.get());
        const std::vector<Thing*> changed = memory.changed(things);
        rememberFingerprints(changed);
        RecordList list(receivedFolder);
        list.appendText(head_);
        for (const Tag* tag : tags_) list.append(*tag);
        return memory.renew(basis(), std::move(list), things, changed, tail);
    }
    /// Printed as a whole.
    [[nodiscard]] std::string expected() const {
        ResponseMemory none;
        return std::string(response(none).view());
    }

    /// What stands before the things.
    void setHead(std::string head, std::vector<const Tag*> tags) {
        head_ = std::move(head);
        tags_ = std::move(tags);
        ++populationNumber_;
    }
    [[nodiscard]] Tag makeTag() { return Tag(environment_, "tag " + name()); }

    std::string tail = "]";
    std::string receivedFolder = "/exchange/received";

private:
    std::string name() { return std::to_string(number_++); }

    ObjectEnvironment environment_{std::make_shared<FakeClock>(),
                                   std::make_shared<SeededRandom>(1)};
    std::vector<std::unique_ptr<Thing>> owned_;
    std::string head_ = "[";
    std::vector<const Tag*> tags_;
    std::uint64_t populationNumber_ = 0;
    int number_ = 0;
};

class ResponseMemoryTest : public testing::Test {
protected:
    /// The response must be the one that is printed as a whole, and its memory is given back.
    void expectRight(const Library& library) {
        EXPECT_TRUE(library.response(memory).view() == library.expected());
    }
    [[nodiscard]] const char* place(const Library& library) {
        return library.response(memory).cString();
    }

    ResponseMemory memory;
};

TEST_F(ResponseMemoryTest, HandsTheSameTextOutWhileNothingChanges) {
    const Library library(10);
    const LargeText first = library.response(memory);
    EXPECT_EQ(library.response(memory).cString(), first.cString());
}

TEST_F(ResponseMemoryTest, HasNothingForAnyOtherBasis) {
    const Library library(2);
    (void)library.response(memory);
    const ResponseBasis right = library.basis();
    ASSERT_TRUE(memory.find(right));
    const auto other = [&right](const auto& change) {
        ResponseBasis basis = right;
        change(basis);
        return basis;
    };
    EXPECT_FALSE(memory.find(other([](auto& basis) { ++basis.populationNumber; })));
    EXPECT_FALSE(memory.find(other([](auto& basis) { ++basis.changeNumber; })));
    EXPECT_FALSE(memory.find(other([](auto& basis) { basis.directory = "/other"; })));
    EXPECT_FALSE(memory.find(other([](auto& basis) { basis.receivedFolder = "/other"; })));
    EXPECT_FALSE(memory.find(other([](auto& basis) { basis.lastSync = Date{1}; })));
    EXPECT_FALSE(memory.find(other([](auto& basis) { basis.status = "other"; })));
}

TEST_F(ResponseMemoryTest, PutsWhatHasChangedIntoTheTextOfTheLastTime) {
    Library library(20'000);
    const char* const before = place(library);
    for (const std::size_t changed : {0U, 1U, 10'000U, 19'998U, 19'999U}) {
        library.at(changed).setTitle("another title, longer than it was");
        expectRight(library);
        library.at(changed).setTitle("");
        expectRight(library);
    }
    EXPECT_EQ(place(library), before);
}

TEST_F(ResponseMemoryTest, LeavesATextAsItIsThatSomebodyStillHas) {
    Library library(1000);
    const LargeText held = library.response(memory);
    const std::string before(held.view());
    library.at(5).setTitle("another");
    expectRight(library);
    EXPECT_TRUE(held.view() == before);
    EXPECT_NE(place(library), held.cString());
}

TEST_F(ResponseMemoryTest, PrintsAllWhenTheFilesLieInAnotherFolder) {
    Library library(1000);
    (void)library.response(memory);
    library.receivedFolder = "/elsewhere/received";
    library.at(5).setTitle("another");
    expectRight(library);
}

TEST_F(ResponseMemoryTest, GivesMemoryBackWhenMostOfTheLibraryIsGone) {
    Library library(20'000);
    const char* const before = place(library);
    while (library.size() > 1000) library.remove(library.size() - 1);
    expectRight(library);
    EXPECT_NE(place(library), before);
}

/// What a store tells of the length of a record, in bytes more than it has.
TEST_F(ResponseMemoryTest, PrintsAllWhenTheLengthOfARecordIsWrong) {
    Library library(100);
    (void)library.response(memory);
    for (const int wrong : {-1, 1, 1000}) {
        library.at(50).setTitle("changed by " + std::to_string(wrong));
        std::vector<Thing*> one{&library.at(50)};
        rememberFingerprints(one);
        DerivedDigests digests = *one[0]->derivedDigests();
        digests.recordBytes += static_cast<std::uint64_t>(wrong);
        digests.record = sha256("something else");
        one[0]->remember(digests);
        const std::string response(library.response(memory).view());
        one[0]->remember(computedFingerprints(*one[0]));
        EXPECT_TRUE(response == library.expected());
    }
}

TEST_F(ResponseMemoryTest, GrowsBeyondItsMemory) {
    Library library(100);
    (void)library.response(memory);
    library.at(50).setContent(std::string(5'000'000, 'x'));
    expectRight(library);
    library.at(50).setContent("");
    expectRight(library);
}

TEST_F(ResponseMemoryTest, FollowsTheFirstAndTheLastThing) {
    Library library(0);
    expectRight(library);
    (void)library.add();
    expectRight(library);
    (void)library.add();
    expectRight(library);
    for (int i = 0; i < 20; ++i) (void)library.add();
    expectRight(library);
    (void)library.add();  // few enough to be put behind the others
    expectRight(library);
    library.remove(library.size() - 1);
    expectRight(library);
    library.remove(0);
    expectRight(library);
    library.remove(library.size() - 1);
    (void)library.add();
    expectRight(library);
    while (library.size() > 0) {
        library.remove(library.size() / 2);
        expectRight(library);
    }
}

TEST_F(ResponseMemoryTest, FollowsWhatStandsAroundTheThings) {
    Library library(100);
    expectRight(library);
    const Tag tag = library.makeTag();
    library.setHead("[", {&tag});
    expectRight(library);
    library.setHead("[\"something long before the records that were there\",", {});
    library.tail = ",\"and something behind\"]";
    library.at(50).setTitle("");
    expectRight(library);
    library.setHead("[", {&tag});
    library.tail = "]";
    expectRight(library);
}

TEST_F(ResponseMemoryTest, PrintsAllWhenThingsHaveChangedPlaces) {
    // They never do; if they did, the text would still have to be right.
    Library library(100);
    (void)library.response(memory);
    std::vector<Thing*> things;
    for (std::size_t i = library.size(); i > 0; --i) things.push_back(&library.at(i - 1));
    const auto answer = [&](ResponseMemory& by) {
        RecordList list(library.receivedFolder);
        list.appendText("[");
        return by.renew(library.basis(), std::move(list), things, by.changed(things), "]");
    };
    ResponseMemory none;
    EXPECT_TRUE(answer(memory).view() == answer(none).view());
}

TEST_F(ResponseMemoryTest, ForgetsWhenItIsTold) {
    const Library library(3);
    (void)library.response(memory);
    memory.forget();
    EXPECT_FALSE(memory.find(library.basis()));
    expectRight(library);
}

/// Numbers of things at the beginning.
class RandomResponses : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Sizes, RandomResponses, testing::Values(1, 3, 30, 300, 3000));

TEST_P(RandomResponses, AreWhatWouldBePrintedAsAWhole) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    Library library(GetParam());
    ResponseMemory memory;
    std::optional<LargeText> held;
    const Tag one = library.makeTag();
    const Tag other = library.makeTag();
    for (int step = 0; step < 150; ++step) {
        for (std::size_t changes = below(6); changes > 0; --changes) {
            const std::size_t kind = below(10);
            if (library.size() == 0 || kind == 0) {
                (void)library.add();
            } else if (kind == 1) {
                library.remove(below(library.size()));
            } else {
                library.at(below(library.size()))
                    .setTitle(std::string(below(90), below(2) == 0 ? 'x' : '"'));
            }
        }
        if (below(5) == 0) library.setHead("[", {&one});
        if (below(5) == 0) library.setHead("[", {&one, &other});
        if (below(5) == 0) library.setHead("[", {});
        if (below(4) == 0) library.tail = "," + std::to_string(random()) + "]";
        if (below(40) == 0) library.receivedFolder += "x";
        if (below(4) == 0) held = library.response(memory);
        if (below(4) == 0) held.reset();
        const LargeText text = library.response(memory);
        ASSERT_TRUE(text.view() == library.expected()) << "step " << step;
        ASSERT_EQ(text.cString()[text.size()], '\0');
    }
}

}  // namespace
}  // namespace kelto
