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
class RecordList {
public:
    /// `receivedFolder` is the folder of payload files; it outlives the list.
    explicit RecordList(std::string_view receivedFolder);

    /// Anything that stands around the records.
    void appendText(std::string_view text) { text_.append(text); }
    void append(const Project& project);
    void append(const Tag& tag);
    /// Things that remember their fingerprints; of many, a second thread prints a part.
    /// What follows must not be longer than `bytesBehind`, or all of it is copied once more.
    void append(std::span<Thing* const> things, std::size_t bytesBehind = 0);

    [[nodiscard]] bool hasRecords() const { return hasRecords_; }
    [[nodiscard]] std::string_view view() const { return text_.view(); }
    /// The record of a thing that remembers its fingerprints, at the end of another text.
    void appendAlone(const Thing& thing, TextBuffer& text) const;
    /// How long that is; what a store tells of it may be wrong.
    [[nodiscard]] std::size_t bytesOf(const Thing& thing) const;

    /// The whole text; the list is empty afterwards.
    [[nodiscard]] LargeText take() { return std::move(text_); }

private:
    /// False when the lengths that the things remember are wrong; nothing is appended then.
    [[nodiscard]] bool tryToAppend(std::span<Thing* const> things, std::size_t bytesBehind);
    /// Each with a comma behind it. Answers whether they have their lengths.
    [[nodiscard]] bool print(std::span<Thing* const> things, std::span<char> room) const;
    void separate();

    std::string_view receivedFolder_;
    std::size_t folderBytes_;  // as thingRecordBytes() wants it
    TextBuffer text_;
    bool hasRecords_ = false;
};

}  // namespace kelto
