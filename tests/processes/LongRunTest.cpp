#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/processes/HostLibrary.hpp"
#include "tests/processes/LongRun.hpp"

namespace kelto {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool countsMemory = false;  // the sanitizers keep freed memory on purpose
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool countsMemory = false;
#else
constexpr bool countsMemory = true;
#endif
#else
constexpr bool countsMemory = true;
#endif

/// What a process holds of the machine.
struct Holding {
    std::size_t descriptors = 0;
    std::size_t kilobytes = 0;  ///< Resident.
};

std::size_t descriptorsOf(pid_t process) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        ++count;
    }
    return count;
}

Holding holdingOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    file >> all >> resident;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return {descriptorsOf(process), resident * page / 1024};
}

/// The store's own thread opens the database for a moment, after an exchange has been answered.
std::size_t descriptorsAtRest(pid_t process, std::size_t expected) {
    std::size_t count = descriptorsOf(process);
    for (int i = 0; i < 100 && count != expected; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        count = descriptorsOf(process);
    }
    return count;
}

/// One host that exchanges over and over: items that come, change and go, texts, small payloads and
/// large ones, all of them other ones each time.
class RestlessHost {
public:
    RestlessHost() : host_(library_.process()) {}

    void exchange() {
        const int number = number_++;
        // As long as this, one copy that is not freed in each exchange could not be overlooked.
        const std::string text(100'000, static_cast<char>('a' + number % 26));
        const std::string bytes = std::to_string(number) + text;
        RequestBuilder request;
        for (unsigned i = 1; i <= 2; ++i) {
            request.record(RecordBuilder::thing(identifier(i))
                               .with("title", std::to_string(number))
                               .with("content", text)
                               .with("updatedAt", std::int64_t{1'800'000'000'000} + number)
                               .with("data", library_.putFile("data", bytes))
                               .with("icon", library_.putFile("icon", std::to_string(number))));
        }
        const auto passing = static_cast<unsigned>(10 + number % 7);
        const auto gone = static_cast<unsigned>(10 + (number + 3) % 7);
        request.record(RecordBuilder::tag(identifier(passing)).with("name", text.substr(0, 9)));
        request.record(RecordBuilder::deletion("Tag", identifier(gone)));
        // Some answers come without files, and some requests are refused.
        if (number % 3 == 0) request.knownFingerprint(identifier(1), fingerprint_);
        if (number % 11 == 0) request.record(RecordBuilder::tag("no identifier"));
        const Response response = host_.ask(library_.text(request)).response();
        ASSERT_EQ(response.isError(), number % 11 == 0) << response.error();
        if (!response.isError()) fingerprint_ = response.string(identifier(1), "fingerprint");
    }

    [[nodiscard]] pid_t process() const { return host_.number(); }
    HostEnd end() { return host_.wait(); }

private:
    HostLibrary library_;
    HostProcess host_;
    int number_ = 0;
    std::string fingerprint_;
};

TEST(LongRun, LeavesMemoryAndDescriptorsAsTheyWere) {
    const int exchanges = longRun("KELTO_SOAK_EXCHANGES", 150);
    constexpr int warmUp = 50;
    // A quarter of what 150 exchanges would leave that each forget one request or one response.
    constexpr std::size_t mostGrowthKilobytes = 8 * 1024;
    RestlessHost host;
    for (int i = 0; i < warmUp; ++i) ASSERT_NO_FATAL_FAILURE(host.exchange());
    const Holding before = holdingOf(host.process());
    const std::size_t descriptors = descriptorsAtRest(host.process(), before.descriptors);
    std::size_t most = before.kilobytes;
    for (int i = 1; i <= exchanges; ++i) {
        ASSERT_NO_FATAL_FAILURE(host.exchange());
        const Holding now = holdingOf(host.process());
        most = std::max(most, now.kilobytes);
        if (exchanges >= 1000 && i % (exchanges / 10) == 0) {
            std::printf("after %6d exchanges: %zu kB resident, %zu descriptors\n",
                        i,
                        now.kilobytes,
                        now.descriptors);
        }
    }
    const Holding after = holdingOf(host.process());
    EXPECT_EQ(descriptorsAtRest(host.process(), descriptors), descriptors);
    if (countsMemory) {
        EXPECT_LT(after.kilobytes, before.kilobytes + mostGrowthKilobytes);
    }
    RecordProperty("kilobytesBefore", static_cast<int>(before.kilobytes));
    RecordProperty("kilobytesAfter", static_cast<int>(after.kilobytes));
    if (exchanges >= 1000) {
        std::printf("before %zu kB, after %zu kB, most %zu kB; %zu descriptors\n",
                    before.kilobytes,
                    after.kilobytes,
                    most,
                    descriptors);
    }
    EXPECT_EQ(host.end(), HostEnd());
}

}  // namespace
}  // namespace kelto
