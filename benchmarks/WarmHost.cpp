#include "benchmarks/WarmHost.hpp"

#include "benchmarks/ResponseCheck.hpp"

namespace kelto::bench {

WarmHost::WarmHost(const Workplace& place)
    : place_(place),
      snapshot_(place.savedHost()),
      floor_(place.folder() + "/floor-warm", snapshot_.exchangeFolder()) {
    warmUp();
    letFilesAge();
    warmUp();
    warmUp();
    static_cast<void>(floor_.run(request_, response_));
    static_cast<void>(floor_.run(request_, response_));
}

void WarmHost::print(const RequestStyle& style) {
    printRequest(request_, snapshot_, place_.storePath(), style);
}

void WarmHost::warmUp() {
    print();
    static_cast<void>(runExchange(request_.c_str(), response_));
    checkResponse(response_, snapshot_, ReceivedFiles::checked);
    snapshot_.adopt(response_);
}

Sample WarmHost::measured(const std::string& workload,
                          std::size_t sample,
                          const RequestStyle& style,
                          const NewWork& work) {
    print(style);
    return measuredAsPrinted(workload, sample, work);
}

Sample WarmHost::measuredAsPrinted(const std::string& workload,
                                   std::size_t sample,
                                   const NewWork& work) {
    Sample result;
    result.workload = workload;
    result.items = place_.items();
    // Before the exchange, the last response is the one of the right size.
    if (!exchangeComesFirst(sample)) result.floor = floor_.run(request_, response_, work);
    result.cost = runExchange(request_.c_str(), response_);
    result.stages = lastStages();
    if (exchangeComesFirst(sample)) result.floor = floor_.run(request_, response_, work);
    checkResponse(response_, snapshot_, ReceivedFiles::checked);
    snapshot_.adopt(response_);
    result.requestBytes = request_.size();
    result.responseBytes = response_.size();
    return result;
}

}  // namespace kelto::bench
