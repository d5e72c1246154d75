#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

/// The records of a response as text, one after the other with commas between them.
///
/// Two threads write two lists at the same time, a few bytes at a time: did the lists share a line
/// of the processors' caches, each of those writes would wait for the other processor. (They come
/// in pairs of 64 bytes.)
class alignas(128) RecordList {
public:
    /// `receivedFolder` is the folder of payload files; it outlives the list.
    explicit RecordList(std::string_view receivedFolder) : receivedFolder_(receivedFolder) {}

    /// Makes room for so many things.
    void reserve(std::size_t things);
    /// Anything that stands around the records.
    void appendText(std::string_view text) { text_.append(text); }
    void append(const Project& project);
    void append(const Tag& tag);
    /// The thing remembers its fingerprints.
    void append(const Thing& thing);
    /// All of them; of many, a second thread prints the second half.
    void appendAll(std::span<Thing* const> things);

    /// The whole text; the list is empty afterwards.
    [[nodiscard]] LargeText take() { return std::move(text_); }

private:
    void appendEach(std::span<Thing* const> things);
    void separate();

    std::string_view receivedFolder_;
    TextBuffer text_;
    bool hasRecords_ = false;
};

}  // namespace kelto
