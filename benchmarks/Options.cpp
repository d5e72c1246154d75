#include "benchmarks/Options.hpp"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace kelto::bench {

bool Options::wants(const std::string& workload) const {
    return only.empty() || std::find(only.begin(), only.end(), workload) != only.end();
}

std::optional<int> readOptions(int count, char** arguments, Options& options) {
    CLI::App app(
        "Times exchanges of sample libraries against the least that any program must do for the "
        "same work, in one run on one machine. Works in the folder for temporary files (TMPDIR).",
        "kelto_bench");
    app.add_option("--only", options.only, "Workloads, as W1,W2,W3; all without it")
        ->delimiter(',')
        ->check(CLI::IsMember({"W1", "W2", "W3", "W4", "W5", "W6", "W7"}));
    app.add_option("--items", options.items, "Size of a library; may be repeated")
        ->check(CLI::Range(100, 5'000'000));
    app.add_option("--runs", options.runs, "Measured runs of each workload")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--large", options.largeBytes, "Size of the payload of W7 in bytes")
        ->transform(CLI::AsSizeValue(false));
    app.add_flag("--growth", options.growth, "W1 from 1,000 to 1,000,000 items, with a plot");
    app.add_option("--plot", options.plot, "Where the plot of --growth goes")
        ->capture_default_str();
    app.add_flag("--json", options.json, "Print JSON instead of tables");

    app.add_option("--job", options.job)->group("");
    app.add_option("--folder", options.folder)->group("");
    app.add_option("--shape", options.shape)->group("");
    app.add_option("--sample", options.sample)->group("");
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return std::nullopt;
}

}  // namespace kelto::bench
