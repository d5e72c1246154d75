#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/crash/RunFolder.hpp"
#include "tests/support/RequestBuilder.hpp"

namespace kelto {

/// A payload by its number, from which its bytes follow; 0 is none.
using PayloadNumber = unsigned;
/// The bytes of a payload: of all sizes around the border between database and file, some of them
/// longer than one buffer. Good until the next call.
[[nodiscard]] const std::string& payloadBytes(PayloadNumber number);

/// What a host sends in one exchange, and which files it must have received afterwards.
struct StoryStep {
    RequestBuilder request;  ///< Paths begin with "@" in the place of a run's world.
    /// The names of the files in "received" of all things that live after this step.
    std::map<std::string, PayloadNumber> received;
    std::set<PayloadNumber> sent;  ///< Those that the request names.

    /// The text for a library, with its payload files put into its exchange folder.
    [[nodiscard]] std::string text(const RunFolder& folder) const;
    /// Removes the host's files that no thing has after this step.
    void tidy(const RunFolder& folder) const;
};

/// A host's life: creations, edits, replaced payloads, deletions, always the same ones from the
/// same seed. The first steps do one of everything; the later ones whatever comes.
class Story {
public:
    static constexpr unsigned scriptedSteps = 8;

    enum class Kind : std::uint8_t {
        mixed,
        longLog,  ///< The first step fills the database's log, so that it is copied back.
    };

    explicit Story(std::uint64_t seed, Kind kind = Kind::mixed) : kind_(kind), dice_(seed) {}
    [[nodiscard]] StoryStep next();

private:
    struct StoryThing {
        std::string title;
        std::string project;
        std::vector<std::string> tags;
        std::int64_t updatedAt = 0;
        PayloadNumber data = 0;
        PayloadNumber thumbnail = 0;
        PayloadNumber icon = 0;
    };

    enum class Size : std::uint8_t { small, large };

    void scripted(unsigned number);
    void fillLog();
    void improvised();
    void createProject();
    void createTag();
    void createThing(PayloadNumber data, PayloadNumber icon);
    void editThing();
    void replaceData(Size size);
    void shareData();
    void removeThing();
    void removeProject();
    void removeTag();

    [[nodiscard]] PayloadNumber newPayload(Size size);
    [[nodiscard]] std::size_t roll(std::size_t sides);
    [[nodiscard]] std::string newIdentifier();
    template <typename Map>
    [[nodiscard]] auto any(Map& map);
    void send(const std::string& uuid, const StoryThing& thing);
    [[nodiscard]] std::map<std::string, PayloadNumber> received() const;

    Kind kind_;
    std::mt19937_64 dice_;
    unsigned stepNumber_ = 0;
    unsigned lastIdentifier_ = 0;
    PayloadNumber lastPayload_ = 0;
    std::map<std::string, StoryThing> things_;
    std::vector<std::string> projects_;
    std::vector<std::string> tags_;
    RequestBuilder request_;
    std::set<PayloadNumber> sent_;
};

}  // namespace kelto
