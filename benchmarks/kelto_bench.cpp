// Times exchanges against the floor of the same work, in one run on one machine. The figure to look
// at is the ratio; the milliseconds are this machine's.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "benchmarks/ExchangeSample.hpp"
#include "benchmarks/Floor.hpp"
#include "benchmarks/SampleLibrary.hpp"

namespace kelto::bench {
namespace {

constexpr int samples = 7;
constexpr std::size_t editedEvery = 100;

struct Result {
    const char* workload;
    std::size_t items;
    double milliseconds;
    double floorMilliseconds;
    std::size_t peakBytes;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Runs exchange and floor in turn, so that both see the same machine.
template <typename Exchange, typename Base>
Result measured(const char* workload, std::size_t items, int count, Exchange exchange, Base base) {
    std::vector<double> times;
    std::vector<double> floors;
    for (int i = 0; i < count; ++i) {
        times.push_back(exchange().count());
        floors.push_back(base().count());
    }
    return {workload, items, median(times), median(floors), peakMemory()};
}

std::string freshFolder(const std::string& in) {
    static int number = 0;
    const std::string folder = in + "/floor" + std::to_string(number++);
    std::filesystem::create_directories(folder);
    return folder;
}

/// All workloads on one library, in this process, which has not opened a store yet.
std::vector<Result> measure(std::size_t items, const std::string& folder) {
    const SampleLibrary library(items, folder);
    ::setenv("XDG_DATA_HOME", library.dataFolder().c_str(), 1);
    const std::string store = storePath();
    std::vector<Result> results;
    std::string response;
    Milliseconds time{};

    const std::string import = library.importRequest(store);
    results.push_back(measured(
        "first import",
        items,
        1,
        [&] {
            response = exchange(import, time);
            verify(response, library.recordCount(), 0);
            return time;
        },
        [&] {
            return floorOf(
                import, {library.payloadPaths(), library.recordCount()}, freshFolder(folder));
        }));

    const std::string unchanged = followingRequest(response, store, 0);
    results.push_back(measured(
        "nothing changed",
        items,
        samples,
        [&] {
            verify(exchange(unchanged, time), library.recordCount(), 0);
            return time;
        },
        [&] { return floorOf(unchanged, {}, folder); }));

    const std::size_t edits = (items + editedEvery - 1) / editedEvery;
    std::string edited;
    results.push_back(measured(
        "1 % edited",
        items,
        samples,
        [&] {
            edited = followingRequest(response, store, editedEvery);
            response = exchange(edited, time);
            verify(response, library.recordCount(), edits);
            return time;
        },
        [&] {
            return floorOf(edited, {{}, edits}, freshFolder(folder));
        }));
    return results;
}

void print(const std::vector<Result>& results, bool asJson) {
    if (!asJson) {
        std::printf("%-16s %8s %12s %12s %7s %9s\n",
                    "workload",
                    "items",
                    "exchange ms",
                    "floor ms",
                    "ratio",
                    "peak MB");
    }
    const char* separator = "[";
    for (const Result& result : results) {
        const double ratio = result.milliseconds / result.floorMilliseconds;
        const double megabytes = static_cast<double>(result.peakBytes) / 1e6;
        if (asJson) {
            std::printf(
                "%s{\"workload\":\"%s\",\"items\":%zu,\"milliseconds\":%.3f,"
                "\"floorMilliseconds\":%.3f,\"ratio\":%.3f,\"peakMegabytes\":%.1f}",
                separator,
                result.workload,
                result.items,
                result.milliseconds,
                result.floorMilliseconds,
                ratio,
                megabytes);
        } else {
            std::printf("%-16s %8zu %12.2f %12.2f %7.2f %9.1f\n",
                        result.workload,
                        result.items,
                        result.milliseconds,
                        result.floorMilliseconds,
                        ratio,
                        megabytes);
        }
        separator = ",\n ";
    }
    if (asJson) std::puts("]");
}

int usage() {
    std::fputs(
        "usage: kelto_bench [--json] [ITEMS]\n"
        "Times exchanges of a library of ITEMS things (10000) against the floor.\n",
        stderr);
    return 2;
}

int run(int count, char** arguments) {
    std::size_t items = 10'000;
    bool asJson = false;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        char* end = nullptr;
        if (argument == "--json") {
            asJson = true;
        } else if (items = std::strtoul(arguments[i], &end, 10); items == 0 || *end != '\0') {
            return usage();
        }
    }
    std::string folder = (std::filesystem::temp_directory_path() / "kelto-bench-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        std::perror("kelto_bench: no temporary folder");
        return 1;
    }
    print(measure(items, folder), asJson);
    std::filesystem::remove_all(folder);
    return 0;
}

}  // namespace
}  // namespace kelto::bench

int main(int count, char** arguments) {
    return kelto::bench::run(count, arguments);
}
