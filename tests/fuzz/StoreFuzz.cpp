#include <filesystem>
#include <memory>
#include <string>

#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/FuzzedLibrary.hpp"
#include "tests/fuzz/InputReader.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

/// A library whose store can be replaced by a damaged one.
class DamagedLibrary {
public:
    DamagedLibrary() {
        // Closing it writes everything into the one file.
        library_.library().restart();
        whole_ = readFile(library_.library().storePath());
    }

    void open(std::string_view input) {
        library_.library().restart();
        for (const char* suffix : {"-wal", "-shm"}) {
            std::filesystem::remove(library_.library().storePath() + suffix);
        }
        writeFile(library_.library().storePath(), damaged(input));
        // Twice: the first one may fail half-way, the second one finds what that has left.
        (void)library_.exchange(request());
        (void)library_.exchange(request());
        requireNothingElse();
    }

private:
    /// Either a whole file, or pieces of four bytes: a place, and which bits change there; no bits
    /// cut the file off at the place.
    [[nodiscard]] std::string damaged(std::string_view input) const {
        if (input.starts_with("SQLite format 3")) return std::string(input);
        std::string bytes = whole_;
        InputReader reader(input);
        while (!reader.isAtEnd()) {
            const std::size_t place = reader.number(3) % whole_.size();
            const std::uint8_t bits = reader.byte();
            if (bits == 0) {
                bytes.resize(std::min(bytes.size(), place));
            } else if (place < bytes.size()) {
                bytes[place] = static_cast<char>(bytes[place] ^ static_cast<char>(bits));
            }
        }
        return bytes;
    }

    [[nodiscard]] std::string request() const {
        return library_.expanded(
            R"({"version":1,"storePath":"$STORE","directory":"$DIR","records":[)"
            R"({"recordType":"Thing","uuid":"5eed0000-0000-4000-8000-000000000001","title":"Changed","updatedAt":2000,"data":"$DIR/large"},)"
            R"({"recordType":"Tag","uuid":"5eed0000-0000-4000-8000-000000000022","name":"new"},)"
            R"({"recordType":"Project","uuid":"5eed0000-0000-4000-8000-000000000012","deleted":true}]})");
    }

    void requireNothingElse() {
        const std::vector<std::string> names = namesIn(library_.library().platform().folder.path());
        require(names == std::vector<std::string>{"exchange", "group"},
                "nothing is written outside of the library and the exchange folder");
    }

    FuzzedLibrary library_;
    std::string whole_;
};

}  // namespace

void fuzzStore(std::string_view input) {
    static std::unique_ptr<DamagedLibrary> library;
    static int inputs = 0;
    constexpr int inputsForOneLibrary = 1000;
    if (!library || ++inputs % inputsForOneLibrary == 0) {
        library.reset();
        library = std::make_unique<DamagedLibrary>();
    }
    library->open(input);
}

}  // namespace kelto
