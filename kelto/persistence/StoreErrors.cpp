#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

std::string storeNamed(std::string_view path) {
    return "The library’s store “" + spokenFileName(path) + "” ";
}

PlatformError damagedStore(std::string_view what) {
    constexpr int corrupt = 11;  // SQLITE_CORRUPT
    return PlatformError::described(
        errorDomain::sqlite, corrupt, "The library’s store is damaged: " + std::string(what) + ".");
}

}  // namespace kelto
