#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kelto::bench {

/// A library as hosts have them: records of 500 to 700 bytes with text of several scripts, four
/// tags each, projects three deep, one item in three with a payload of 20 KiB.
class SampleLibrary {
public:
    /// Makes `items` things below `folder`: the exchange folder, the payload files, the data
    /// folder.
    SampleLibrary(std::size_t items, std::string folder);

    [[nodiscard]] const std::string& dataFolder() const { return dataFolder_; }
    [[nodiscard]] const std::string& exchangeFolder() const { return exchangeFolder_; }
    [[nodiscard]] const std::vector<std::string>& payloadPaths() const { return payloadPaths_; }
    [[nodiscard]] std::size_t items() const { return items_; }
    [[nodiscard]] std::size_t recordCount() const;

    /// The request of the first import, payload paths of incoming files included.
    [[nodiscard]] std::string importRequest(const std::string& storePath) const;

private:
    std::size_t items_;
    std::string dataFolder_;
    std::string exchangeFolder_;
    std::vector<std::string> payloadPaths_;
};

/// The request that a host sends after `response`: the whole snapshot with the paths of the
/// received payload files and all fingerprints. With `editedEvery` of 100, each hundredth thing
/// gets a new title.
[[nodiscard]] std::string followingRequest(const std::string& response,
                                           const std::string& storePath,
                                           std::size_t editedEvery);

}  // namespace kelto::bench
