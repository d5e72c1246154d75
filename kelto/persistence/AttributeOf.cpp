#include "kelto/persistence/AttributeOf.hpp"

#include <cstring>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto::column {

namespace {

/// A value of a fixed size. The store's own constraints keep other sizes out, so another size means
/// that somebody else has written into the file.
template <typename Array>
void readExactly(RowReader& row, int at, Array& bytes) {
    const Bytes stored = row.blob(at);
    if (stored.size() != bytes.size()) {
        throw PlatformError::described(errorDomain::sqlite,
                                       11,
                                       "The library’s store is damaged: a stored identifier or "
                                       "digest has the wrong length.");
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

void read(RowReader& row, int at, std::string& value) {
    const std::string_view text = row.text(at);
    if (isWellFormedUtf8(text)) {
        value = text;
    } else {
        value = repairedUtf8(text);
    }
}

}  // namespace kelto::column
