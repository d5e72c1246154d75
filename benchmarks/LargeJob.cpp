#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "benchmarks/FloorFiles.hpp"
#include "benchmarks/Jobs.hpp"
#include "benchmarks/ProcessMemory.hpp"
#include "benchmarks/ResponseRecords.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/Workplace.hpp"
#include "kelto/foundation/Bytes.hpp"

namespace kelto::bench {

namespace {

constexpr std::size_t bufferBytes = std::size_t{256} * 1024;
constexpr const char* filmIdentifier = "7f0c9a52-6d1e-4b3f-8a27-1c5e9d40b6a1";

Descriptor opened(const std::string& path, int flags) {
    return Descriptor(::open(path.c_str(), flags | O_CLOEXEC, 0600), path);
}

/// Copies a file through one buffer, and shows each piece to `look`.
template <typename Look>
void copy(const Descriptor& from, const Descriptor& to, Look look) {
    std::string buffer(bufferBytes, '\0');
    for (;;) {
        const ssize_t count = ::read(from.number(), buffer.data(), buffer.size());
        if (count < 0) throw std::runtime_error("the floor cannot read the large payload");
        if (count == 0) return;
        look(std::string_view(buffer).substr(0, static_cast<std::size_t>(count)));
        if (::write(to.number(), buffer.data(), static_cast<std::size_t>(count)) != count) {
            throw std::runtime_error("the floor cannot write the large payload");
        }
    }
}

/// What storing a file and giving it out again takes at least: read, hash, write, flush; then read
/// and write.
Milliseconds copyAndHash(const std::string& source, const std::string& folder) {
    std::filesystem::create_directories(folder);
    const std::string stored = folder + "/stored";
    const auto start = Clock::now();
    {
        const Descriptor to = opened(stored, O_WRONLY | O_CREAT | O_EXCL);
        Sha256 hash;
        copy(opened(source, O_RDONLY), to, [&](std::string_view piece) {
            hash.update(bytesOf(piece));
        });
        static_cast<void>(hash.finish());
        if (::fdatasync(to.number()) != 0) throw std::runtime_error("the floor cannot flush");
    }
    copy(opened(stored, O_RDONLY),
         opened(folder + "/given-out", O_WRONLY | O_CREAT | O_EXCL),
         [](std::string_view) {});
    const Milliseconds time = Clock::now() - start;
    std::filesystem::remove_all(folder);
    return time;
}

void compareFiles(const std::string& one, const std::string& other) {
    std::ifstream files[2]{std::ifstream(one, std::ios::binary),
                           std::ifstream(other, std::ios::binary)};
    std::string buffers[2]{std::string(bufferBytes, '\0'), std::string(bufferBytes, '\0')};
    std::streamsize counts[2]{1, 1};
    while (counts[0] > 0) {
        for (int i = 0; i < 2; ++i) {
            files[i].read(buffers[i].data(), bufferBytes);
            counts[i] = files[i].gcount();
        }
        const auto count = static_cast<std::size_t>(counts[0]);
        if (counts[0] != counts[1] ||
            std::memcmp(buffers[0].data(), buffers[1].data(), count) != 0) {
            throw std::runtime_error("the large payload came back with other bytes");
        }
    }
}

class LargeExchange {
public:
    LargeExchange(const Workplace& place, std::string source)
        : place_(place), source_(std::move(source)) {
        // Opens the store; nothing large yet.
        static_cast<void>(runExchange(request("").c_str(), response_));
    }

    void measure(Sample& sample) {
        settleDisk(place_.folder());
        sample.idleBytes = residentBytes();
        const std::string record =
            std::string(R"({"recordType":"Thing","uuid":")") + filmIdentifier +
            R"(","kind":"video","title":"Ein großer Film","data":")" + source_ + R"("})";
        sample.cost = runExchange(request(record).c_str(), response_);
        sample.stages = lastStages();
        check();
        cleanUp();
    }

private:
    [[nodiscard]] std::string request(const std::string& records) const {
        return R"({"version":1,"storePath":")" + place_.storePath() + R"(","directory":")" +
               place_.folder() + R"(/exchange","records":[)" + records + "]}";
    }

    void check() const {
        std::size_t records = 0;
        forEachRecord(response_, [&](std::size_t, const ResponseRecord& record) {
            ++records;
            if (record.uuid != filmIdentifier || record.name != "Ein großer Film") {
                throw std::runtime_error("the response has another record");
            }
            compareFiles(source_, std::string(record.data));
        });
        if (records != 1) throw std::runtime_error("the response has not one record");
    }

    /// The large files go as soon as they have been looked at: nobody has room for them all.
    void cleanUp() const {
        const auto size = std::filesystem::file_size(source_);
        for (const char* name : {"/data", "/exchange/received"}) {
            for (const auto& entry :
                 std::filesystem::recursive_directory_iterator(place_.folder() + name)) {
                if (entry.is_regular_file() && entry.file_size() >= size) {
                    std::filesystem::remove(entry.path());
                }
            }
        }
        settleDisk(place_.folder());
    }

    const Workplace& place_;
    std::string source_;
    std::string response_;
};

}  // namespace

void runLarge(const Options& options) {
    const Workplace place(options);
    const std::string source = options.folder + "/exchange/incoming/large";
    LargeExchange exchange(place, source);
    Sample sample;
    sample.workload = "W7";
    sample.items = 1;
    sample.requestBytes = std::filesystem::file_size(source);
    if (exchangeComesFirst(options.sample)) exchange.measure(sample);
    settleDisk(options.folder);
    sample.floor = copyAndHash(source, options.folder + "/floor");
    settleDisk(options.folder);
    if (!exchangeComesFirst(options.sample)) exchange.measure(sample);
    tell(sample);
}

}  // namespace kelto::bench
