#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tests/random/HostFiles.hpp"
#include "tests/random/MergeModel.hpp"
#include "tests/random/ModelLibrary.hpp"

namespace kelto::history {

/// How an exchange has to end.
struct Outcome {
    /// The sentence of the refusal; empty when it is answered.
    std::string refusal;
    /// Set when a file cannot be read: some error that names this file.
    std::optional<std::string> unreadableFile;
    /// The whole answer; its records stand in their order.
    JsonValue response;
    /// The payload files that are written for the host, and no other.
    std::vector<FileChange> written;
    /// What the merge decided on its way.
    Decisions decisions;

    [[nodiscard]] bool isAnswer() const { return refusal.empty() && !unreadableFile; }
};

/// What an exchange does, in plain lists and maps and with nothing remembered between two of them
/// but the library itself, which all processes
/// share: the rules as they are told, not as they are made fast.
class LibraryModel {
public:
    /// Where the store has to lie.
    explicit LibraryModel(std::string storePath) : storePath_(std::move(storePath)) {}

    /// The host's files are those of the moment of the exchange. `now` is the time of day.
    [[nodiscard]] Outcome exchange(std::size_t process,
                                   const JsonValue& request,
                                   const HostFiles& files,
                                   Seconds now);

    /// A process ends and starts again: what is saved stays.
    void restart(std::size_t process) { openPaths_.erase(process); }

    [[nodiscard]] const ModelLibrary& library() const { return library_; }

private:
    void open(std::size_t process, const JsonValue& request);

    std::string storePath_;
    /// By process, as the request spelled it that opened the store there.
    std::map<std::size_t, std::string> openPaths_;
    ModelLibrary library_;
};

}  // namespace kelto::history
