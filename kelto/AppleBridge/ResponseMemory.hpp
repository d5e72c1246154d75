#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/RecordList.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

/// All that a response is made of, in short: two that have the same are the same text.
struct ResponseBasis {
    std::uint64_t populationNumber = 0;  ///< Of the library's objects; see ModelContainer.
    std::uint64_t changeNumber = 0;      ///< The highest of any object.
    std::string directory;
    std::string receivedFolder;
    std::optional<Date> lastSync;
    std::string status;

    friend bool operator==(const ResponseBasis&, const ResponseBasis&) = default;
};

/// The last response. Where a little of the library has changed, only that little is printed anew,
/// into the text of the last time: printing all of it is the longest part of an exchange that
/// changes nothing, and fresh memory for it is dear. Whoever still has the last text keeps it as it
/// is.
class ResponseMemory {
public:
    /// The last response, if it is the one for this basis.
    [[nodiscard]] std::optional<LargeText> find(const ResponseBasis& basis) const;

    /// Of all things of the library, in the order of their creation, those that the last response
    /// does not show as they are: without one, all.
    [[nodiscard]] std::vector<Thing*> changed(std::span<Thing* const> things) const;

    /// The response for this basis: what `head` says, the things, and `tail`. `changed` are those
    /// that changed() has found. All of them remember their fingerprints.
    [[nodiscard]] LargeText renew(ResponseBasis basis,
                                  RecordList head,
                                  std::span<Thing* const> things,
                                  std::span<Thing* const> changed,
                                  std::string_view tail);
    void forget() { *this = {}; }

    /// The request that was answered with the last response, if it said that the host holds all
    /// files of all things.
    std::shared_ptr<const RequestMemory> holdsAllFiles;

private:
    /// The record of a thing in the text, with the comma behind it. (Behind the last one stands the
    /// tail instead.)
    struct Printed {
        const Thing* thing;  // compared only: it may be gone
        std::size_t bytes;
    };
    /// A part of the next text: printed anew, or as it stood in the last one.
    struct Piece {
        bool isNew;
        std::size_t from;  // in the last text, or among those printed anew
        std::size_t to;
        std::size_t bytes;
    };
    /// How the last text becomes the next one.
    struct Plan {
        LargeVector<Printed> things;
        std::vector<Piece> pieces;
        TextBuffer printed;
        std::size_t end = 0;  // of the things
    };

    /// None when the text is better printed as a whole, or has to be. `start` is where the things
    /// will begin, `list` knows how long each is.
    [[nodiscard]] std::optional<Plan> planFor(std::size_t start,
                                              std::span<Thing* const> things,
                                              std::span<Thing* const> changed,
                                              const RecordList& list) const;
    /// Takes the last text away.
    [[nodiscard]] LargeText carriedOut(const Plan& plan,
                                       std::string_view head,
                                       std::string_view tail);
    [[nodiscard]] static LargeVector<Printed> lengths(const RecordList& list,
                                                      std::span<Thing* const> things);

    std::optional<LargeText> text_;
    ResponseBasis basis_;
    LargeVector<Printed> things_;
    std::size_t start_ = 0;  // of the things
    std::size_t end_ = 0;
};

}  // namespace kelto
