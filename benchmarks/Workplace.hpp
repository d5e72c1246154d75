#pragma once

#include <cstddef>
#include <string>

#include "benchmarks/HostSnapshot.hpp"
#include "benchmarks/Options.hpp"

namespace kelto::bench {

/// One process's place at one library: a folder with the store, the host and the floor.
///
///     data/         the App Group container with the store
///     exchange/     the exchange folder: incoming/ and received/
///     host.state    what the host knows, handed from process to process
class Workplace {
public:
    /// Lets the library find its data in the folder. Before the first exchange of the process.
    explicit Workplace(const Options& options);

    [[nodiscard]] const std::string& storePath() const { return storePath_; }
    [[nodiscard]] const std::string& folder() const { return folder_; }
    [[nodiscard]] std::size_t items() const { return shape_.items; }
    [[nodiscard]] const SampleShape& shape() const { return shape_; }

    /// A host that knows nothing yet, as before the first import.
    [[nodiscard]] HostSnapshot newHost() const { return {shape_, folder_}; }
    /// The host as the process before this one left it.
    [[nodiscard]] HostSnapshot savedHost() const;
    void save(const HostSnapshot& host) const;

private:
    std::string folder_;
    SampleShape shape_;
    std::string storePath_;
};

/// Long enough that no file is young any more: a file that changed a moment ago could change again
/// without a trace in its times, so it is always looked into.
void letFilesAge();

/// Writes out what waits in memory for the file system of this folder, so that it burdens nothing
/// that is measured next.
void settleDisk(const std::string& folder);

/// Whether a sample measures the exchange first and then the floor; every other sample does it the
/// other way round.
[[nodiscard]] constexpr bool exchangeComesFirst(std::size_t sample) {
    return sample % 2 == 0;
}

}  // namespace kelto::bench
