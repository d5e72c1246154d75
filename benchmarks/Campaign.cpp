#include "benchmarks/Campaign.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "benchmarks/ChildProcess.hpp"

namespace kelto::bench {

namespace {

/// Lets the file system put each subfolder into another part of the disk, where it can: where files
/// were deleted a short while ago, ext4 takes up to a millisecond to make one.
void spreadSubfolders(const std::string& folder) {
    const int open = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (open < 0) return;
    int flags = 0;
    if (::ioctl(open, FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_TOPDIR_FL;
        (void)::ioctl(open, FS_IOC_SETFLAGS, &flags);  // only a hint
    }
    ::close(open);
}

using Sizes = std::vector<std::size_t>;

const Sizes usualSizes{1'000, 10'000, 100'000};
const Sizes growingSizes{1'000, 10'000, 100'000, 1'000'000};
const Sizes linkedSizes{10'000};
constexpr std::size_t fewestItems = 100;
constexpr std::size_t importsOfMany = 3;
// Even, so that exchange and floor come first equally often: who comes first writes to blocks that
// the disk has perhaps never seen.
constexpr std::size_t runsOfLarge = 4;

const Sizes& orElse(const Sizes& asked, const Sizes& usual) {
    return asked.empty() ? usual : asked;
}

/// Bytes that no file system can leave out or shrink.
void writeRandomFile(const std::string& path, std::uint64_t size) {
    std::mt19937_64 engine(size);
    std::vector<std::uint64_t> words(std::size_t{1} << 17U);
    std::ofstream file(path, std::ios::binary);
    for (std::uint64_t left = size; left > 0;) {
        for (auto& word : words) word = engine();
        const std::uint64_t count = std::min<std::uint64_t>(left, words.size() * sizeof words[0]);
        file.write(reinterpret_cast<const char*>(words.data()),
                   static_cast<std::streamsize>(count));
        left -= count;
    }
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace

TemporaryFolder::TemporaryFolder()
    : path_((std::filesystem::temp_directory_path() / "kelto-bench-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for the run");
    spreadSubfolders(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Campaign::runWorkloads() {
    const auto wantsAny = [&](std::initializer_list<const char*> names) {
        return std::any_of(
            names.begin(), names.end(), [&](const char* name) { return options_.wants(name); });
    };
    // First, because its files are gone again afterwards, and those of the libraries are not.
    if (options_.wants("W7")) measureLarge();
    if (wantsAny({"W1", "W2", "W3", "W4", "W6"})) {
        for (const std::size_t items : orElse(options_.items, usualSizes)) {
            measure(SampleShape::usual(items));
        }
    }
    if (options_.wants("W5")) {
        for (const std::size_t items : orElse(options_.items, linkedSizes)) {
            measure(SampleShape::linked(items));
        }
    }
}

void Campaign::runGrowth() {
    for (const std::size_t items : orElse(options_.items, growingSizes)) {
        measure(SampleShape::tiny(items));
    }
}

/// With many items a first import is long enough for its time to be sure with fewer runs.
std::size_t Campaign::imports(const SampleShape& shape) const {
    constexpr std::size_t many = 50'000;
    if (options_.growth || shape.isLinkedFolder || !options_.wants("W3")) return 1;
    return shape.items < many ? options_.runs : std::min(options_.runs, importsOfMany);
}

void Campaign::measure(const SampleShape& shape) {
    const SampleLibrary library(shape);
    // Incoming, stored and received files; the floor's two copies; rows, logs and texts.
    const double eachImport =
        static_cast<double>(library.payloadBytes()) * 5.5 + static_cast<double>(shape.items) * 15e3;
    const std::string name = std::string(shape.name) + " " + std::to_string(shape.items);
    if (!hasRoom(name + " items", eachImport * static_cast<double>(imports(shape)))) return;

    std::string first;
    for (std::size_t i = 0; i < imports(shape); ++i) {
        const std::string folder = folder_.path() + "/" + std::string(shape.name) + "-" +
                                   std::to_string(shape.items) + "-" + std::to_string(i);
        report("import of " + name + " items, " + std::to_string(i + 1) + " of " +
               std::to_string(imports(shape)));
        runJob("import", shape, folder, i);
        if (i == 0) first = folder;
    }
    measureOn(shape, first);
}

void Campaign::measureOn(const SampleShape& shape, const std::string& folder) {
    const std::string name = std::to_string(shape.items) + " items";
    if (options_.growth || shape.isLinkedFolder || options_.wants("W1")) {
        report("nothing changed, " + std::string(shape.name) + " " + name);
        runJob("unchanged", shape, folder);
    }
    if (options_.growth || shape.isLinkedFolder) return;
    if (options_.wants("W1")) runJob("resident", shape, folder);
    if (options_.wants("W4")) {
        report("first exchange of a process, " + name);
        runJob("settling", shape, folder);
        for (std::size_t i = 0; i < options_.runs; ++i) runJob("first", shape, folder, i);
    }
    if (options_.wants("W6")) {
        report("changed by another process, " + name);
        runJob("foreign", shape, folder);
    }
    if (options_.wants("W2")) {
        report("one per cent edited, " + name);
        runJob("edited", shape, folder);
    }
}

void Campaign::measureLarge() {
    // The source, the stored and the given out copy; the floor's two only when those are gone.
    if (!hasRoom("W7", static_cast<double>(options_.largeBytes) * 3.2)) return;
    const std::string source = folder_.path() + "/large";
    report("making the payload of W7");
    writeRandomFile(source, options_.largeBytes);
    const std::size_t runs = std::min(options_.runs, runsOfLarge);
    for (std::size_t i = 0; i < runs; ++i) {
        report("W7, " + std::to_string(i + 1) + " of " + std::to_string(runs));
        const std::string folder = folder_.path() + "/large-" + std::to_string(i);
        std::filesystem::create_directories(folder + "/exchange/incoming");
        std::filesystem::rename(source, folder + "/exchange/incoming/large");
        runJob("large", SampleShape::usual(fewestItems), folder, i);
        std::filesystem::rename(folder + "/exchange/incoming/large", source);
    }
    std::filesystem::remove(source);
}

bool Campaign::hasRoom(const std::string& what, double bytes) {
    const auto free = static_cast<double>(std::filesystem::space(folder_.path()).available);
    if (bytes <= free) return true;
    char text[200];
    std::snprintf(text,
                  sizeof text,
                  "%s left out: it needs %.1f GB in %s, where %.1f GB are free.",
                  what.c_str(),
                  bytes / 1e9,
                  std::filesystem::temp_directory_path().c_str(),
                  free / 1e9);
    omissions_.emplace_back(text);
    return false;
}

void Campaign::runJob(const std::string& job,
                      const SampleShape& shape,
                      const std::string& folder,
                      std::size_t sample) {
    std::vector<std::string> arguments{"--job",
                                       job,
                                       "--folder",
                                       folder,
                                       "--shape",
                                       std::string(shape.name),
                                       "--items",
                                       std::to_string(shape.items),
                                       "--sample",
                                       std::to_string(sample),
                                       "--runs",
                                       std::to_string(options_.runs)};
    // An import measures its floor only where W3 is wanted.
    if (imports(shape) == 1 && (options_.growth || shape.isLinkedFolder || !options_.wants("W3"))) {
        arguments.insert(arguments.end(), {"--only", "W1"});
    }
    ChildProcess child(arguments);
    while (const auto line = child.readLine()) samples_.push_back(readSample(*line));
    child.finish();
}

void Campaign::report(const std::string& what) const {
    if (::isatty(STDERR_FILENO) != 0) std::fprintf(stderr, "kelto_bench: %s\n", what.c_str());
}

}  // namespace kelto::bench
