#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kelto/AppleBridge/RecordKey.hpp"
#include "kelto/AppleBridge/RecordReader.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// One record of the host, typed by key. Looked into only through its readers, which are forgiving:
/// a missing value, or one of another type, reads as the reader's default and never fails. What it
/// hands out is borrowed from the request. One that was recognised by its text is taken apart only
/// when somebody looks into it.
class Record {
public:
    /// One that was taken apart already.
    Record(std::string_view text, const RecordValues& values)
        : Record(text, TextHash::of(text)) {  // now, when the processor has its bytes at hand
        values_ = &values;
    }
    /// One whose text was seen before. `reader` outlives it.
    Record(std::string_view text, const SeenRecord& seen, RecordReader& reader)
        : Record(text, seen.textHash) {
        reader_ = &reader;
        seen_ = &seen;
    }

    // By which the same text is recognised the next time.
    [[nodiscard]] const TextHash& textHash() const { return hash_; }
    [[nodiscard]] std::uint32_t textSize() const { return size_; }
    /// What became of the same record in an earlier request; nullptr when none had this text.
    [[nodiscard]] const SeenRecord* seen() const { return seen_; }

    [[nodiscard]] std::optional<Uuid> identifier() const;
    [[nodiscard]] std::optional<RecordType> type() const;
    /// Whether it deletes what it names, instead of saying what it holds.
    [[nodiscard]] bool isDeletion() const {
        return seen_ == nullptr && boolean(RecordKey::deleted);  // only live ones are remembered
    }
    /// Live and without a type or an identifier: no exchange goes beyond it. (Deletions have their
    /// turn after all others.)
    [[nodiscard]] bool isSureToBeRefused() const {
        return seen_ == nullptr && (!identifier() || !type()) && !isDeletion();
    }

    /// The text, or the empty text.
    [[nodiscard]] std::string_view string(RecordKey key) const {
        return value(key).asString().value_or(std::string_view());
    }
    [[nodiscard]] std::optional<std::string_view> optionalString(RecordKey key) const {
        return value(key).asString();
    }
    /// Milliseconds since 1970 as a moment; 1970-01-01 00:00 UTC when there is no number.
    [[nodiscard]] Date date(RecordKey key) const {
        return Date::fromMilliseconds(value(key).asNumber().value_or(0));
    }
    [[nodiscard]] std::optional<Date> optionalDate(RecordKey key) const;
    /// An integral number of the signed 64-bit range, or 0.
    [[nodiscard]] std::int64_t integer(RecordKey key) const {
        return value(key).asInteger().value_or(0);
    }
    [[nodiscard]] double number(RecordKey key, double otherwise) const {
        return value(key).asNumber().value_or(otherwise);
    }
    /// True only for JSON's true.
    [[nodiscard]] bool boolean(RecordKey key) const {
        return value(key).asBoolean().value_or(false);
    }
    [[nodiscard]] std::optional<Uuid> optionalUUID(RecordKey key) const;
    /// The identifiers of a list of texts, in its order; elements that are no identifier are left
    /// out.
    [[nodiscard]] std::span<const Uuid> identifiers(RecordKey key) const {
        return value(key).asIdentifiers();
    }

private:
    Record(std::string_view text, const TextHash& hash)
        : hash_(hash), start_(text.data()), size_(static_cast<std::uint32_t>(text.size())) {}

    [[nodiscard]] const RecordValue& value(RecordKey key) const {
        if (values_ == nullptr) values_ = &reader_->read(std::string_view(start_, size_));
        return (*values_)[static_cast<std::size_t>(key)];
    }

    TextHash hash_;
    const char* start_;
    std::uint32_t size_;  // a request is not longer than that
    RecordReader* reader_ = nullptr;
    const SeenRecord* seen_ = nullptr;
    mutable const RecordValues* values_ = nullptr;
};

}  // namespace kelto
