#include <cstdio>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "benchmarks/Floor.hpp"
#include "benchmarks/HostRequest.hpp"
#include "benchmarks/Jobs.hpp"
#include "benchmarks/ProcessMemory.hpp"
#include "benchmarks/ResponseCheck.hpp"
#include "benchmarks/RowScan.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/WarmHost.hpp"
#include "benchmarks/Workplace.hpp"

namespace kelto::bench {

namespace {

std::string requestFile(const Workplace& place) {
    return place.folder() + "/unchanged.json";
}

/// The request as a C text in memory that is the file's, not this process's own.
class MappedRequest {
public:
    explicit MappedRequest(const std::string& path)
        : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC), path) {
        struct stat state {};
        ::fstat(file_.number(), &state);
        size_ = static_cast<std::size_t>(state.st_size);
        text_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file_.number(), 0);
        if (text_ == MAP_FAILED) throw std::runtime_error("cannot map " + path);
    }
    ~MappedRequest() { ::munmap(text_, size_); }
    MappedRequest(const MappedRequest&) = delete;
    MappedRequest& operator=(const MappedRequest&) = delete;

    [[nodiscard]] const char* text() const { return static_cast<const char*>(text_); }
    [[nodiscard]] std::size_t length() const { return size_ - 1; }  // without its NUL

private:
    Descriptor file_;
    std::size_t size_ = 0;
    void* text_ = nullptr;
};

void saveRequest(const std::string& request, const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file.write(request.c_str(), static_cast<std::streamsize>(request.size() + 1));
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace

void runUnchanged(const Options& options) {
    const Workplace place(options);
    WarmHost host(place);
    const bool isUsual = place.shape().name == SampleShape::usual(0).name;
    const std::string workload = place.shape().isLinkedFolder ? "W5" : "W1";
    for (std::size_t i = 0; i < options.runs; ++i) {
        tell(host.measured(workload, i, {}));
    }
    saveRequest(host.request(), requestFile(place));
    if (!isUsual) return;
    // The first is not counted: whoever knows texts again has to find out first that it does not.
    for (std::size_t i = 0; i <= options.runs; ++i) {
        const Sample sample =
            host.measured("W1, other text", i, {.keyOrderSeed = i + 1, .onlyItem = {}});
        if (i > 0) tell(sample);
    }
}

void runResident(const Options& options) {
    const Workplace place(options);
    Sample sample;
    sample.workload = "memory";
    sample.items = place.items();
    {
        const MappedRequest request(requestFile(place));
        sample.requestBytes = request.length();
        for (int i = 0; i < 3; ++i) sample.cost = runExchangeAndForget(request.text());
    }
    sample.residentBytes = residentBytes();
    tell(sample);
}

void runSettling(const Options& options) {
    const Workplace place(options);
    const WarmHost settled(place);
}

void runFirst(const Options& options) {
    const Workplace place(options);
    const HostSnapshot host = place.savedHost();
    std::string request;
    printRequest(request, host, place.storePath());
    std::string response;
    Sample sample;
    sample.workload = "W4";
    sample.items = place.items();
    sample.cost = runExchange(request.c_str(), response);
    sample.stages = lastStages();
    checkResponse(response, host, ReceivedFiles::checked);
    Floor floor(place.folder() + "/floor-first", host.exchangeFolder());
    static_cast<void>(floor.run(request, response));
    sample.floor = floor.run(request, response) + scanRows(place.storePath());
    sample.requestBytes = request.size();
    sample.responseBytes = response.size();
    tell(sample);
}

}  // namespace kelto::bench
