#pragma once

#include <cstdint>
#include <optional>

#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// The errno below a file error; none when there is none.
inline std::optional<std::int64_t> errnoBelow(const PlatformError& error) {
    const ErrorValue* below = error.object()->userInfo.find(errorKey::underlyingError);
    if (below == nullptr || !std::holds_alternative<ErrorRef>(*below)) return std::nullopt;
    return std::get<ErrorRef>(*below)->code;
}

}  // namespace kelto

/// The statement throws a file error of this Cocoa code, with this errno as its cause.
#define EXPECT_THROW_FILE_ERROR(statement, cocoaCode, errorNumber)                        \
    try {                                                                                 \
        statement;                                                                        \
        ADD_FAILURE() << #statement " threw nothing";                                     \
    } catch (const kelto::PlatformError& error) {                                         \
        EXPECT_EQ(error.domain(), kelto::errorDomain::cocoa);                             \
        EXPECT_EQ(error.code(), cocoaCode) << error.localizedDescription();               \
        EXPECT_EQ(kelto::errnoBelow(error), errorNumber) << error.localizedDescription(); \
    }                                                                                     \
    static_assert(true)
