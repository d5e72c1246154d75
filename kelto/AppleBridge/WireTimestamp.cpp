#include "kelto/AppleBridge/WireTimestamp.hpp"

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

std::int64_t wireTimestamp(const Date& date) {
    if (const auto milliseconds = date.representableMilliseconds()) return *milliseconds;
    fatalError("a timestamp is out of the range of 64-bit milliseconds",
               "kelto/AppleBridge",
               __LINE__ - 2);
}

}  // namespace kelto
