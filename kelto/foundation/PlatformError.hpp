#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kelto {

namespace errorDomain {
inline constexpr std::string_view cocoa = "NSCocoaErrorDomain";
inline constexpr std::string_view posix = "NSPOSIXErrorDomain";
inline constexpr std::string_view cloudKit = "CKErrorDomain";
inline constexpr std::string_view sqlite = "NSSQLiteErrorDomain";
}  // namespace errorDomain

namespace errorKey {
inline constexpr std::string_view localizedDescription = "NSLocalizedDescription";
inline constexpr std::string_view localizedFailure = "NSLocalizedFailure";
inline constexpr std::string_view localizedFailureReason = "NSLocalizedFailureReason";
inline constexpr std::string_view underlyingError = "NSUnderlyingError";
inline constexpr std::string_view filePath = "NSFilePath";
inline constexpr std::string_view debugDescription = "NSDebugDescription";
inline constexpr std::string_view cloudKitDescription = "CKErrorDescription";
inline constexpr std::string_view partialErrorsByItemId = "CKPartialErrors";
}  // namespace errorKey

class ErrorObject;
/// Errors have identity: the same object met twice in a tree of errors is one error.
using ErrorRef = std::shared_ptr<const ErrorObject>;

struct ErrorDictionary;
/// What a key of the user information may hold. `monostate` stands for anything else (a number, a
/// date, a list), which nobody reads. A null `ErrorRef` counts as `monostate`.
using ErrorValue = std::variant<std::monostate, std::string, ErrorRef, ErrorDictionary>;

/// An ordered dictionary; its iteration order is the order of its entries.
struct ErrorDictionary {
    std::vector<std::pair<std::string, ErrorValue>> entries;
    ErrorDictionary() = default;
    explicit ErrorDictionary(std::vector<std::pair<std::string, ErrorValue>> entries);
    /// The value under `key`, or nullptr.
    [[nodiscard]] const ErrorValue* find(std::string_view key) const;
};

/// One error in the form that every layer of the platform uses: domain, code, user information.
class ErrorObject {
public:
    ErrorObject(std::string domain, std::int64_t code, ErrorDictionary userInfo = {});

    std::string domain;
    std::int64_t code;
    ErrorDictionary userInfo;

    /// The sentence a person sees: the user information's description; else its failure and reason;
    /// else "The operation couldn’t be completed. " with the reason, or with domain and code.
    [[nodiscard]] std::string localizedDescription() const;
};

/// The last component of a path as it can stand in a sentence: well-formed UTF-8, cut after 255
/// bytes, control characters and direction marks shown as "?".
[[nodiscard]] std::string spokenFileName(std::string_view path);

/// Whatever the machine refuses: files, the database, unreadable JSON, the account service.
/// Thrown by value; copies share one ErrorObject and so keep its identity.
class PlatformError : public std::exception {
public:
    PlatformError(std::string_view domain, std::int64_t code, ErrorDictionary userInfo = {});
    explicit PlatformError(ErrorRef object);

    /// An error whose sentence is `description`, as it stands.
    static PlatformError described(std::string_view domain,
                                   std::int64_t code,
                                   std::string description);
    /// A file that could not be read. `errorNumber` is the errno of the failed call. The sentence
    /// names the file (last component of `path`) and the cause; the user information holds the path
    /// and the system’s own words for the cause.
    static PlatformError fileRead(std::string_view path, int errorNumber);
    /// The same for a file or folder that could not be written, made, renamed or removed.
    static PlatformError fileWrite(std::string_view path, int errorNumber);

    [[nodiscard]] const ErrorRef& object() const { return object_; }
    [[nodiscard]] const std::string& domain() const { return object_->domain; }
    [[nodiscard]] std::int64_t code() const { return object_->code; }
    [[nodiscard]] std::string localizedDescription() const;
    /// The localized description; lives as long as this object.
    [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

private:
    ErrorRef object_;
    std::string what_;
};

}  // namespace kelto
