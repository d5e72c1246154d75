#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// Builds trees of errors as the cloud service hands them out.
class ErrorTree {
public:
    ErrorTree(std::string_view domain, std::int64_t code)
        : error_(std::make_shared<ErrorObject>(std::string(domain), code)) {}
    static ErrorTree cloud(std::int64_t code) { return {errorDomain::cloudKit, code}; }

    ErrorTree& with(std::string_view key, ErrorValue value) {
        error_->userInfo.entries.emplace_back(key, std::move(value));
        return *this;
    }
    /// Its own sentence.
    ErrorTree& saying(std::string text) {
        return with(errorKey::localizedDescription, std::move(text));
    }
    ErrorTree& causedBy(const ErrorTree& cause) {
        return with(errorKey::underlyingError, cause.ref());
    }
    ErrorTree& withItems(const std::vector<ErrorTree>& items) {
        ErrorDictionary byItem;
        for (const ErrorTree& item : items) {
            byItem.entries.emplace_back("item " + std::to_string(byItem.entries.size()),
                                        item.ref());
        }
        return with(errorKey::partialErrorsByItemId, std::move(byItem));
    }

    [[nodiscard]] ErrorRef ref() const { return error_; }
    [[nodiscard]] ErrorObject& object() const { return *error_; }

private:
    std::shared_ptr<ErrorObject> error_;
};

}  // namespace kelto
