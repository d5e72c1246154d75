#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/FloorFiles.hpp"
#include "benchmarks/FloorStore.hpp"
#include "benchmarks/Milliseconds.hpp"

namespace kelto::bench {

/// What is new in an exchange, and so has to be stored whoever does it. One entry for each record
/// of the request; both lists may be empty when nothing is new.
struct NewWork {
    std::vector<bool> changed;      ///< Its row is written, and its payload files for the host.
    std::vector<bool> newPayloads;  ///< Its payload is read, hashed and stored as well.
};

/// The least that any program does for the same exchange: reads the request's JSON once, asks the
/// file system once about each payload file that it names, hashes each new payload once, writes
/// each changed row in one durable transaction, makes each new payload durable once, prints the
/// response once and writes the payload files that must be written. No merge, no model.
///
/// Everything that can be kept between exchanges is kept: buffers, prepared statement, open files.
class Floor {
public:
    /// Works in `folder`, which is made, on requests of one host.
    Floor(const std::string& folder, const std::string& exchangeFolder);

    /// Stores the rows of all records, so that later runs find a store of this size.
    void fill(std::string_view request);

    /// The time of the same work. `response` is only a text of the right size: printing is copying
    /// it, record by record, into a buffer that is used again.
    [[nodiscard]] Milliseconds run(std::string_view request,
                                   std::string_view response,
                                   const NewWork& work = {});

private:
    /// A payload file that the host gets.
    struct Outgoing {
        std::string_view path;
        std::size_t size;
    };

    void store(std::size_t position, const NewWork& work);
    [[nodiscard]] static bool isMarked(const std::vector<bool>& marks, std::size_t position) {
        return position < marks.size() && marks[position];
    }

    std::string folder_;
    FloorStore rows_;
    FloorFiles files_;
    FloorRecord record_;
    std::vector<Outgoing> outgoing_;
    std::string printed_;
    std::size_t records_ = 0;
    std::size_t runs_ = 0;
};

}  // namespace kelto::bench
