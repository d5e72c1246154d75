#include <algorithm>
#include <numeric>

#include "benchmarks/Jobs.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/WarmHost.hpp"

namespace kelto::bench {

namespace {

constexpr std::size_t newPayloadsOfARun = 10;

/// A walk over all items that meets each once, far from the last one, before it meets one again.
class ScatteredItems {
public:
    explicit ScatteredItems(std::size_t items) : items_(items), stride_(items * 5 / 8 + 1) {
        while (std::gcd(stride_, items_) != 1) ++stride_;
    }
    std::size_t next() { return at_ = (at_ + stride_) % items_; }

private:
    std::size_t items_;
    std::size_t stride_;
    std::size_t at_ = 0;
};

/// Changes the snapshot for one run: ten small payloads are replaced, the rest of the one per cent
/// gets other texts.
NewWork editOnePerCent(HostSnapshot& host, ScatteredItems& order) {
    const SampleLibrary& library = host.library();
    NewWork work;
    work.changed.resize(library.records());
    work.newPayloads.resize(library.records());
    const std::size_t edits = std::max(library.items() / 100, newPayloadsOfARun);
    std::size_t done = 0;
    for (std::size_t replaced = 0; replaced < newPayloadsOfARun;) {
        const std::size_t item = order.next();
        if (library.payloadSize(item) != library.shape().payloadBytes) continue;
        host.replacePayload(item);
        work.changed[library.positionOf(item)] = true;
        work.newPayloads[library.positionOf(item)] = true;
        ++replaced;
        ++done;
    }
    while (done < edits) {
        const std::size_t item = order.next();
        if (work.changed[library.positionOf(item)]) continue;
        host.edit(item);
        work.changed[library.positionOf(item)] = true;
        ++done;
    }
    return work;
}

}  // namespace

void runEdited(const Options& options) {
    const Workplace place(options);
    WarmHost host(place);
    host.floor().fill(host.request());
    ScatteredItems order(place.items());
    for (std::size_t i = 0; i <= options.runs; ++i) {
        const NewWork work = editOnePerCent(host.snapshot(), order);
        const Sample sample = host.measured("W2", i, {}, work);
        // The first is not counted: it makes the store's log as long as it will stay.
        if (i > 0) tell(sample);
        letFilesAge();
        host.warmUp();
    }
    place.save(host.snapshot());
}

}  // namespace kelto::bench
