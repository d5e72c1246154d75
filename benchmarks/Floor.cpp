#include "benchmarks/Floor.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace kelto::bench {

namespace {

std::string made(const std::string& folder) {
    std::filesystem::create_directories(folder);
    return folder;
}

}  // namespace

Floor::Floor(const std::string& folder, const std::string& exchangeFolder)
    : folder_(made(folder)), rows_(folder + "/rows.sqlite"), files_(exchangeFolder, folder) {}

void Floor::fill(std::string_view request) {
    FloorRequest reader(request);
    rows_.begin();
    for (std::size_t id = 1; reader.nextRecord(record_, FloorDetail::values); ++id) {
        rows_.put(id, record_, nullptr);
    }
    rows_.commit();
    rows_.settle();
}

Milliseconds Floor::run(std::string_view request, std::string_view response, const NewWork& work) {
    const bool stores = !work.changed.empty();
    if (stores) files_.writeInto(folder_ + "/out" + std::to_string(++runs_));
    if (printed_.capacity() < response.size()) printed_.reserve(response.size());
    // The size of what is printed for one record, so that all of the response has been printed in
    // the end. The first run on a request has to guess.
    const std::size_t share = records_ == 0 ? response.size() : response.size() / records_ + 1;

    const auto start = Clock::now();
    printed_.clear();
    outgoing_.clear();
    if (stores) rows_.begin();
    FloorRequest reader(request);
    std::size_t position = 0;
    for (;; ++position) {
        const bool isChanged = isMarked(work.changed, position);
        const auto detail = isChanged ? FloorDetail::values : FloorDetail::paths;
        if (!reader.nextRecord(record_, detail)) break;
        if (isChanged) {
            store(position, work);
        } else {
            for (std::size_t i = 0; i < record_.payloadCount; ++i) {
                static_cast<void>(files_.examine(record_.payloadPaths[i]));
            }
        }
        printed_ += response.substr(std::min(printed_.size(), response.size()), share);
    }
    if (stores) {
        files_.flush();
        rows_.commit();
        // After the commit, which would else have to flush what the file system notes about them.
        for (const Outgoing& file : outgoing_) files_.give(file.path, file.size);
    }
    const Milliseconds time = Clock::now() - start;

    if (printed_.size() != response.size())
        throw std::runtime_error("the floor printed too little");
    records_ = position;
    return time;
}

void Floor::store(std::size_t position, const NewWork& work) {
    Digest digest;
    for (std::size_t i = 0; i < record_.payloadCount; ++i) {
        const std::string_view path = record_.payloadPaths[i];
        const std::size_t size = files_.examine(path);
        if (!isMarked(work.newPayloads, position)) continue;  // the host has this file already
        digest = files_.take(path, size);
        outgoing_.push_back({path, size});
    }
    rows_.put(position + 1, record_, record_.payloadCount > 0 ? &digest : nullptr);
}

}  // namespace kelto::bench
