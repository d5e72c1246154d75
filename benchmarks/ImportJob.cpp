#include <vector>

#include "benchmarks/Floor.hpp"
#include "benchmarks/HostRequest.hpp"
#include "benchmarks/Jobs.hpp"
#include "benchmarks/ResponseCheck.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/Workplace.hpp"

namespace kelto::bench {

namespace {

/// Stands for the response when the floor runs before it is there: what the library adds to the
/// texts of the request is mostly two fingerprints for each item.
std::string expectedResponse(const std::string& request, std::size_t items) {
    constexpr std::size_t addedForEachItem = 180;
    return std::string(request.size() + items * addedForEachItem, 'x');
}

Milliseconds floorOf(const Workplace& place,
                     const HostSnapshot& host,
                     const std::string& request,
                     const std::string& response) {
    Floor floor(place.folder() + "/floor", host.exchangeFolder());
    static_cast<void>(floor.run(request, response));  // touches the buffers
    settleDisk(place.folder());
    const std::vector<bool> all(host.library().records(), true);
    return floor.run(request, response, {all, all});
}

}  // namespace

void runImport(const Options& options) {
    const Workplace place(options);
    HostSnapshot host = place.newHost();
    host.writeIncomingPayloads();
    std::string request;
    printRequest(request, host, place.storePath());
    std::string response;

    Sample sample;
    sample.workload = "W3";
    sample.items = place.items();
    const bool withFloor = options.wants("W3");
    if (withFloor && !exchangeComesFirst(options.sample)) {
        sample.floor = floorOf(place, host, request, expectedResponse(request, place.items()));
    }
    settleDisk(place.folder());
    sample.cost = runExchange(request.c_str(), response);
    sample.stages = lastStages();
    if (withFloor && exchangeComesFirst(options.sample)) {
        sample.floor = floorOf(place, host, request, response);
    }
    checkResponse(response, host, ReceivedFiles::checked);
    sample.requestBytes = request.size();
    sample.responseBytes = response.size();
    host.adopt(response);
    place.save(host);
    settleDisk(place.folder());
    if (withFloor) tell(sample);
}

}  // namespace kelto::bench
