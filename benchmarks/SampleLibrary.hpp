#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelto::bench {

/// What a sample library holds. Sizes only: equal shapes are equal libraries.
struct SampleShape {
    std::string_view name;
    std::size_t items = 10'000;
    std::size_t payloadEvery = 3;  ///< One item in so many has a payload,
    std::size_t payloadBytes = std::size_t{20} * 1024;
    std::size_t largeEvery = 300;  ///< and one in so many a large one instead; 0 for none.
    std::size_t largeBytes = std::size_t{2} * 1024 * 1024;
    bool isLinkedFolder = false;  ///< All items lie in one project that mirrors a folder.

    [[nodiscard]] static SampleShape usual(std::size_t items);
    [[nodiscard]] static SampleShape linked(std::size_t items);
    /// For growth: payloads of 256 bytes, which an exchange without news does not read anyway.
    [[nodiscard]] static SampleShape tiny(std::size_t items);
    [[nodiscard]] static SampleShape named(std::string_view name, std::size_t items);
};

/// A library as hosts have them: records of about 600 bytes with text of several scripts, four tags
/// each, projects three deep. Everything follows from the shape, so that all processes of a run
/// know the same library.
class SampleLibrary {
public:
    explicit SampleLibrary(const SampleShape& shape) : shape_(shape) {}

    [[nodiscard]] const SampleShape& shape() const { return shape_; }
    [[nodiscard]] std::size_t items() const { return shape_.items; }
    [[nodiscard]] std::size_t projects() const;
    [[nodiscard]] static std::size_t tags() { return tagCount; }
    [[nodiscard]] std::size_t records() const { return projects() + tags() + items(); }
    /// Where the record of an item stands in a snapshot: behind all projects and tags.
    [[nodiscard]] std::size_t positionOf(std::size_t item) const {
        return projects() + tags() + item;
    }

    [[nodiscard]] static std::string projectIdentifier(std::size_t project);
    [[nodiscard]] static std::string tagIdentifier(std::size_t tag);
    [[nodiscard]] static std::string itemIdentifier(std::size_t item);

    [[nodiscard]] static std::string projectName(std::size_t project);
    [[nodiscard]] static std::string tagName(std::size_t tag);
    /// The title after so many edits.
    [[nodiscard]] static std::string itemTitle(std::size_t item, std::size_t edits);

    [[nodiscard]] bool hasParent(std::size_t project) const;
    [[nodiscard]] std::size_t parentOf(std::size_t project) const;
    [[nodiscard]] std::size_t projectOf(std::size_t item) const;
    [[nodiscard]] static std::size_t tagOf(std::size_t item, std::size_t place);

    [[nodiscard]] bool hasPayload(std::size_t item) const;
    [[nodiscard]] std::size_t payloadSize(std::size_t item) const;  ///< 0 without a payload.
    /// The bytes of an item's payload after it was replaced so many times.
    [[nodiscard]] std::string payload(std::size_t item, std::size_t replacements) const;
    /// The size of all payloads together.
    [[nodiscard]] std::uint64_t payloadBytes() const;

private:
    static constexpr std::size_t tagCount = 60;

    [[nodiscard]] std::size_t topProjects() const;
    [[nodiscard]] std::size_t middleProjects() const;

    SampleShape shape_;
};

}  // namespace kelto::bench
