#include "benchmarks/Workplace.hpp"

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "benchmarks/FloorFiles.hpp"
#include "benchmarks/TimedExchange.hpp"

namespace kelto::bench {

Workplace::Workplace(const Options& options)
    : folder_(options.folder), shape_(SampleShape::named(options.shape, options.items.at(0))) {
    ::setenv("XDG_DATA_HOME", (folder_ + "/data").c_str(), 1);
    storePath_ = bench::storePath();
}

HostSnapshot Workplace::savedHost() const {
    HostSnapshot host = newHost();
    host.load(folder_ + "/host.state");
    return host;
}

void Workplace::save(const HostSnapshot& host) const {
    host.save(folder_ + "/host.state");
}

void letFilesAge() {
    std::this_thread::sleep_for(std::chrono::seconds(3));
}

void settleDisk(const std::string& folder) {
    const Descriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), folder);
    if (::syncfs(open.number()) != 0) throw std::runtime_error("the disk cannot be settled");
}

}  // namespace kelto::bench
