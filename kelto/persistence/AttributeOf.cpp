#include "kelto/persistence/AttributeOf.hpp"

#include <cmath>
#include <cstring>

#include "kelto/foundation/Text.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto::column {

namespace {

/// A value of a fixed size.
template <typename Array>
void readExactly(RowReader& row, int at, Array& bytes) {
    const Bytes stored = row.blob(at);
    if (stored.size() != bytes.size()) {
        throw damagedStore("a stored identifier or digest has the wrong length");
    }
    std::memcpy(bytes.data(), stored.data(), bytes.size());
}

}  // namespace

void read(RowReader& row, int at, Uuid& value) {
    readExactly(row, at, value.bytes);
}
void read(RowReader& row, int at, Payload& value) {
    readExactly(row, at, value.digest.bytes);
}

void read(RowReader& row, int at, double& value) {
    value = row.real(at);
    // No response can hold it, and no exchange has ever stored it.
    if (!std::isfinite(value)) throw damagedStore("a stored number is out of range");
}

void read(RowReader& row, int at, Date& value) {
    value = {row.real(at)};
    // Written into a response, such a moment would end the host's process, at every exchange anew.
    if (!value.representableMilliseconds()) throw damagedStore("a stored date is out of range");
}

void read(RowReader& row, int at, std::string& value) {
    const std::string_view text = row.text(at);
    if (isWellFormedUtf8(text)) {
        value = text;
    } else {
        value = repairedUtf8(text);
    }
}

}  // namespace kelto::column
