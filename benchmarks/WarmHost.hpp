#pragma once

#include <cstddef>
#include <string>

#include "benchmarks/Floor.hpp"
#include "benchmarks/HostRequest.hpp"
#include "benchmarks/HostSnapshot.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/Workplace.hpp"

namespace kelto::bench {

/// A host that has been running for a while: the library has its store open, all payload files are
/// old enough to be known by their looks, and the floor has everything open and its buffers in use.
class WarmHost {
public:
    explicit WarmHost(const Workplace& place);

    [[nodiscard]] HostSnapshot& snapshot() { return snapshot_; }
    [[nodiscard]] const std::string& request() const { return request_; }
    [[nodiscard]] Floor& floor() { return floor_; }

    /// One exchange that is not measured, as often as it takes until nothing is news.
    void warmUp();
    /// Prints the request of the snapshot as it is, measures its exchange and its floor, checks the
    /// response against the snapshot and takes it over.
    [[nodiscard]] Sample measured(const std::string& workload,
                                  std::size_t sample,
                                  const RequestStyle& style,
                                  const NewWork& work = {});
    /// Only prints the request.
    void print(const RequestStyle& style = {});
    /// The part of measured() after print(), for a snapshot that has changed since.
    [[nodiscard]] Sample measuredAsPrinted(const std::string& workload,
                                           std::size_t sample,
                                           const NewWork& work = {});

private:
    const Workplace& place_;
    HostSnapshot snapshot_;
    Floor floor_;
    std::string request_;
    std::string response_;
};

}  // namespace kelto::bench
