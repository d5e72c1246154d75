// Times exchanges against the floor of the same work, in one run on one machine. The figure to look
// at is the ratio; the milliseconds are this machine's. docs/performance.md says what is measured.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "benchmarks/Campaign.hpp"
#include "benchmarks/Growth.hpp"
#include "benchmarks/Jobs.hpp"
#include "benchmarks/Options.hpp"
#include "benchmarks/Tables.hpp"

namespace kelto::bench {
namespace {

void runJob(const Options& options) {
    constexpr std::pair<const char*, void (*)(const Options&)> jobs[] = {
        {"import", runImport},
        {"unchanged", runUnchanged},
        {"resident", runResident},
        {"settling", runSettling},
        {"first", runFirst},
        {"edited", runEdited},
        {"foreign", runForeign},
        {"writer", runForeignWriter},
        {"large", runLarge},
    };
    for (const auto& [name, run] : jobs) {
        if (options.job == name) return run(options);
    }
    throw std::runtime_error("there is no job of this name");
}

void reportGrowth(const Options& options, const std::vector<Row>& rows) {
    const Growth growth = Growth::of(rows);
    std::ofstream(options.plot) << svgOf(growth);
    if (options.json) return;
    std::printf(
        "\nW1 with payloads of 256 bytes grows with the number of items to the power of %.3f "
        "(goal <= %.2f: %s), the floor of %.3f. Plot: %s\n",
        growth.exchange.exponent,
        Growth::exponentGoal,
        growth.isMet() ? "met" : "NOT MET",
        growth.floor.exponent,
        options.plot.c_str());
    std::fflush(stdout);  // removing a million files takes a while
}

/// Others at work on the machine lengthen everything, and not everything alike.
void warnOfOthers() {
    constexpr double ownLoad = 1.3;
    double load = 0;
    if (::getloadavg(&load, 1) != 1 || load <= ownLoad) return;
    std::fprintf(stderr,
                 "The machine was busy with other things as well (load %.1f, %u processors): take "
                 "the figures with care.\n",
                 load,
                 std::thread::hardware_concurrency());
}

void runAll(const Options& options) {
    Campaign campaign(options);
    if (options.growth) {
        campaign.runGrowth();
    } else {
        campaign.runWorkloads();
    }
    const std::vector<Row> rows = sumUp(campaign.samples());
    std::cout << (options.json ? jsonOf(rows) : tables(rows)) << std::flush;
    if (options.growth) reportGrowth(options, rows);
    for (const std::string& omission : campaign.omissions()) std::cerr << omission << '\n';
    warnOfOthers();
}

int run(int count, char** arguments) {
    Options options;
    if (const auto status = readOptions(count, arguments, options)) return *status;
    std::signal(SIGPIPE, SIG_IGN);  // a process of the run that died is noticed by its sentence
    try {
        if (options.job.empty()) {
            runAll(options);
        } else {
            runJob(options);
        }
    } catch (const std::exception& error) {
        std::cerr << "kelto_bench: " << error.what() << '\n';
        return 1;
    }
    return 0;
}

}  // namespace
}  // namespace kelto::bench

int main(int count, char** arguments) {
    return kelto::bench::run(count, arguments);
}
