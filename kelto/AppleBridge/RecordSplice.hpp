#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelto {

/// A list of records in the making: new ones are printed, others are copied out of an earlier text.
/// Those that stood side by side there are copied in one go, with the commas between them.
class RecordSplice {
public:
    /// `before` is the earlier text; it outlives the splice. `out` ends where the list begins.
    RecordSplice(std::string& out, std::string_view before) : out_(out), before_(before) {}

    /// Where the next record will begin.
    [[nodiscard]] std::size_t position() const {
        const std::size_t size = out_.size() + (pendingEnd_ - pendingBegin_);
        return isEmpty_ ? size : size + 1;
    }
    /// Where the last record ends.
    [[nodiscard]] std::size_t end() const { return out_.size() + (pendingEnd_ - pendingBegin_); }

    /// The record that stands there in the earlier text.
    void copy(std::size_t begin, std::size_t end) {
        const bool goesOn = pendingEnd_ > pendingBegin_ && begin == pendingEnd_ + 1;
        if (!goesOn) {
            finish();
            separate();
            pendingBegin_ = begin;
        }
        pendingEnd_ = end;
        isEmpty_ = false;
    }
    /// The text at whose end the next record is to be printed.
    [[nodiscard]] std::string& print() {
        finish();
        separate();
        isEmpty_ = false;
        return out_;
    }
    /// Everything stands in the text now.
    void finish() {
        out_.append(before_.substr(pendingBegin_, pendingEnd_ - pendingBegin_));
        pendingBegin_ = pendingEnd_ = 0;
    }

private:
    void separate() {
        if (!isEmpty_) out_ += ',';
    }

    std::string& out_;
    std::string_view before_;
    std::size_t pendingBegin_ = 0;
    std::size_t pendingEnd_ = 0;
    bool isEmpty_ = true;
};

}  // namespace kelto
