#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/RecordRecognition.hpp"
#include "tests/support/RequestBuilder.hpp"

namespace kelto {
namespace {

std::string recordOf(char letter, std::size_t size) {
    return "{\"" + std::string(size, letter) + "\":1}";
}

RequestMemory memoryOf(const std::vector<std::string>& records) {
    RequestMemory memory;
    for (std::size_t i = 0; i < records.size(); ++i) {
        SeenRecord& seen = memory.records.emplace_back();
        seen.textHash = TextHash::of(records[i]);
        seen.textSize = static_cast<std::uint32_t>(records[i].size());
        seen.identifier = *Uuid::parse(identifier(static_cast<unsigned>(i + 1)));
    }
    return memory;
}

TEST(RecordRecognition, FindsTheRecordsInTheirOrder) {
    const std::vector<std::string> records{recordOf('a', 3), recordOf('b', 5), recordOf('c', 7)};
    const RequestMemory memory = memoryOf(records);
    RecordRecognition recognition(memory, false, 1000);
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(recognition.recognise(records[i] + ",{}]}"), &memory.records[i]);
    }
}

TEST(RecordRecognition, MissesWhatDiffersOrIsCutShort) {
    const std::string record = recordOf('a', 50);
    const RequestMemory memory = memoryOf({record});
    RecordRecognition recognition(memory, false, 1000);
    EXPECT_EQ(recognition.recognise(recordOf('b', 50)), nullptr);
    EXPECT_EQ(recognition.recognise(record.substr(0, 20)), nullptr);
    EXPECT_EQ(recognition.recognise(""), nullptr);
    EXPECT_EQ(recognition.recognise(record), &memory.records[0]);
}

TEST(RecordRecognition, GoesOnBehindARecordThatWasEdited) {
    const std::vector<std::string> records{recordOf('a', 3), recordOf('b', 3)};
    const RequestMemory memory = memoryOf(records);
    RecordRecognition recognition(memory, false, 1000);
    EXPECT_EQ(recognition.recognise(recordOf('x', 3)), nullptr);
    recognition.foundInstead(memory.records[0].identifier);
    EXPECT_EQ(recognition.recognise(records[1]), &memory.records[1]);
}

TEST(RecordRecognition, ComparesNothingWhenTheWholeRequestIsTheSame) {
    const RequestMemory memory = memoryOf({recordOf('a', 3)});
    RecordRecognition recognition(memory, true, 0);
    EXPECT_EQ(recognition.recognise("of the same request"), &memory.records[0]);
}

/// A long record that is expected at each of many others, all of which look as if they were it.
TEST(RecordRecognition, GivesUpLookingAtLongTextsForNothing) {
    constexpr std::size_t size = 10'000;
    const std::string wanted = recordOf('a', size);
    const RequestMemory memory = memoryOf({wanted, recordOf('b', 10)});
    RecordRecognition recognition(memory, false, 3 * wanted.size() + 100);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(recognition.recognise(recordOf('x', size)), nullptr);
    EXPECT_EQ(recognition.recognise(wanted), nullptr) << "it looks no more";
    recognition.foundInstead(memory.records[0].identifier);
    EXPECT_EQ(recognition.recognise(recordOf('b', 10)), &memory.records[1])
        << "short ones it still knows";
}

}  // namespace
}  // namespace kelto
