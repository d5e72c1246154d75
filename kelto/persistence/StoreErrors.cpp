#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {
constexpr std::int64_t corrupt = 11;  // SQLITE_CORRUPT
}

std::string storeNamed(std::string_view path) {
    return "The library’s store “" + spokenFileName(path) + "” ";
}

PlatformError damagedStore(std::string_view what) {
    return PlatformError::described(errorDomain::sqlite,
                                    corrupt,
                                    "The library’s store is damaged: " + std::string(what) + ". " +
                                        std::string(whatHelpsDamage));
}

bool isDamagedStore(const PlatformError& error) {
    return error.domain() == errorDomain::sqlite && error.code() == corrupt;
}

}  // namespace kelto
