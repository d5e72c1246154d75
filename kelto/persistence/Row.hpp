#pragma once

#include <cstdint>
#include <string_view>

#include "kelto/foundation/Bytes.hpp"

namespace kelto {

/// The values of one stored row, by column. What it hands out is borrowed until the next row.
class RowReader {
public:
    virtual ~RowReader() = default;
    [[nodiscard]] virtual bool isNull(int column) = 0;
    [[nodiscard]] virtual std::int64_t integer(int column) = 0;
    [[nodiscard]] virtual double real(int column) = 0;
    [[nodiscard]] virtual std::string_view text(int column) = 0;
    [[nodiscard]] virtual Bytes blob(int column) = 0;
};

/// Takes the values of one row that is being written. What it is given must live until the row has
/// been written.
class RowWriter {
public:
    virtual ~RowWriter() = default;
    virtual void null(int column) = 0;
    virtual void integer(int column, std::int64_t value) = 0;
    virtual void real(int column, double value) = 0;
    virtual void text(int column, std::string_view value) = 0;
    virtual void blob(int column, Bytes value) = 0;
};

}  // namespace kelto
