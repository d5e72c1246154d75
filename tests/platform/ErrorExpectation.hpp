#pragma once

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// What the system says about the cause of a file error, in its own words.
inline std::string systemReason(const PlatformError& error) {
    const ErrorValue* reason = error.object()->userInfo.find(errorKey::debugDescription);
    if (reason == nullptr || !std::holds_alternative<std::string>(*reason)) return "";
    return std::get<std::string>(*reason);
}

}  // namespace kelto

/// The statement throws a file error of this Cocoa code, with this errno as its cause.
#define EXPECT_THROW_FILE_ERROR(statement, cocoaCode, errorNumber)           \
    try {                                                                    \
        statement;                                                           \
        ADD_FAILURE() << #statement " threw nothing";                        \
    } catch (const kelto::PlatformError& error) {                            \
        EXPECT_EQ(error.domain(), kelto::errorDomain::cocoa);                \
        EXPECT_EQ(error.code(), cocoaCode) << error.localizedDescription();  \
        EXPECT_EQ(kelto::systemReason(error), strerrordesc_np(errorNumber)); \
    }                                                                        \
    static_assert(true)
