#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "benchmarks/ChildProcess.hpp"
#include "benchmarks/HostRequest.hpp"
#include "benchmarks/Jobs.hpp"
#include "benchmarks/ResponseCheck.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/WarmHost.hpp"

namespace kelto::bench {

namespace {

/// Items without a payload, far apart.
std::size_t foreignItem(const SampleLibrary& library, std::size_t sample) {
    std::size_t item = (sample * 37 + 1) % library.items();
    while (library.hasPayload(item)) ++item;
    return item;
}

void awaitDone(ChildProcess& writer) {
    if (writer.readLine() != "done") {
        throw std::runtime_error("the second process on the store has failed");
    }
}

}  // namespace

void runForeign(const Options& options) {
    const Workplace place(options);
    WarmHost host(place);
    ChildProcess writer({"--job",
                         "writer",
                         "--folder",
                         options.folder,
                         "--shape",
                         options.shape,
                         "--items",
                         std::to_string(place.items())});
    awaitDone(writer);
    for (std::size_t i = 0; i <= options.runs; ++i) {
        const std::size_t item = foreignItem(host.snapshot().library(), i);
        host.print();
        writer.writeLine(std::to_string(item));
        awaitDone(writer);
        // This host does not know of it before the response.
        host.snapshot().edit(item);
        Sample sample = host.measuredAsPrinted("W6", i);
        sample.unchanged = host.measured("W1", i, {}).cost.time;
        if (i > 0) tell(sample);
    }
    place.save(host.snapshot());
    writer.finish();
}

void runForeignWriter(const Options& options) {
    const Workplace place(options);
    // An exchange folder of its own; it claims to have all payload files, and so gets none.
    HostSnapshot host(place.shape(), place.folder() + "/writer");
    host.load(place.folder() + "/host.state");
    std::string request;
    std::string response;
    const auto exchange = [&](std::size_t item) {
        printRequest(request, host, place.storePath(), {.keyOrderSeed = {}, .onlyItem = item});
        static_cast<void>(runExchange(request.c_str(), response));
        checkResponse(response, host, ReceivedFiles::ignored);
        host.adopt(response);
        std::cout << "done" << std::endl;
    };
    exchange(foreignItem(host.library(), 0));
    for (std::size_t item = 0; std::cin >> item;) {
        host.edit(item);
        exchange(item);
    }
}

}  // namespace kelto::bench
