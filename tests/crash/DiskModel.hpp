#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/crash/CallJournal.hpp"

namespace kelto {

/// What becomes of that which has been written but not flushed when the power goes.
enum class Loss : std::uint8_t {
    everything,  ///< Only what was flushed is there.
    nothing,     ///< All has reached the disk.
    some,        ///< Some writes and some entries, in any choice; one write torn between sectors.
    tail,        ///< All up to some moment, the write of that moment torn; a disk in order.
};

/// Files and folders as a disk sees them: bytes are safe once their file was flushed, entries once
/// their folder was. It promises less than most file systems do.
class DiskModel {
public:
    static constexpr std::size_t sectorBytes = 512;

    /// Begins with what lies in `world` now, all of it safe.
    explicit DiskModel(const std::string& world);

    void apply(const JournalEntry& entry);
    /// What a power cut now leaves, as files in the folder `target`, which is new.
    void writeAfterCut(const std::string& target, Loss loss, std::mt19937_64& dice) const;

private:
    struct Piece {
        std::uint64_t moment = 0;
        bool isCut = false;  // the file gets the length `offset`
        std::uint64_t offset = 0;
        std::string bytes;
    };
    struct Content {
        std::string safe;
        std::vector<Piece> pending;
    };
    struct Folder;
    /// What a name stands for: a file or a folder.
    struct Node {
        std::shared_ptr<Content> file;
        std::shared_ptr<Folder> folder;
    };
    struct EntryChange {
        std::uint64_t moment = 0;
        std::string name;
        std::optional<Node> node;  // none: the name goes
        std::string formerName;    // of a rename: goes in the same step
    };
    struct Folder {
        std::map<std::string, Node> safe;
        std::vector<EntryChange> pending;
    };
    /// Decides about one unflushed change, by its moment.
    using Choice = std::function<bool(std::uint64_t moment)>;

    [[nodiscard]] std::shared_ptr<Folder> load(const std::string& folder);
    [[nodiscard]] Folder& folderAt(const std::string& path) const;
    [[nodiscard]] static std::map<std::string, Node> current(const Folder& folder,
                                                             const Choice& keeps);
    [[nodiscard]] static std::string current(const Content& content,
                                             const Choice& keeps,
                                             std::uint64_t torn,
                                             std::mt19937_64& dice);
    void write(const Folder& folder,
               const std::string& target,
               const Choice& keeps,
               std::uint64_t torn,
               std::mt19937_64& dice) const;
    [[nodiscard]] std::uint64_t oldestPending() const;

    std::string world_;
    std::shared_ptr<Folder> top_;
    std::map<std::uint64_t, std::shared_ptr<Content>> byInode_;
    std::uint64_t moment_ = 0;
};

}  // namespace kelto
