#include "kelto/AppleBridge/CloudErrorDescription.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <new>
#include <unordered_set>
#include <variant>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

constexpr std::string_view bridgeErrorDomain = "KeltoBridgeError";
constexpr std::string_view exceptionDomain = "KeltoException";
constexpr const char* noMemory =
    "There isn’t enough memory for this exchange. Close other programs, and try again.";
constexpr std::int64_t batchRequestFailed = 22;
constexpr int deepestLevel = 11;
constexpr std::size_t shownTexts = 3;

using Leaves = std::vector<ErrorRef>;
using Visited = std::unordered_set<const ErrorObject*>;

/// Every value of a dictionary as an error; nothing when one of them is something else.
std::vector<ErrorRef> errorsIn(const ErrorDictionary& dictionary) {
    std::vector<ErrorRef> errors;
    for (const auto& [item, value] : dictionary.entries) {
        const ErrorRef* error = std::get_if<ErrorRef>(&value);
        if (error == nullptr || *error == nullptr) return {};
        errors.push_back(*error);
    }
    return errors;
}

/// What stands directly below an error: the failures of its items, then what caused it.
std::vector<ErrorRef> errorsBelow(const ErrorObject& error) {
    std::vector<ErrorRef> below;
    if (const ErrorValue* partial = error.userInfo.find(errorKey::partialErrorsByItemId)) {
        if (const auto* byItem = std::get_if<ErrorDictionary>(partial)) below = errorsIn(*byItem);
    }
    if (const ErrorValue* value = error.userInfo.find(errorKey::underlyingError)) {
        const ErrorRef* underlying = std::get_if<ErrorRef>(value);
        if (underlying != nullptr && *underlying != nullptr) below.push_back(*underlying);
    }
    return below;
}

/// The errors at the ends of the tree. Foreign code builds these trees: the depth is limited, and
/// an error that is met again, as in a cycle, counts once.
void collectLeaves(const ErrorRef& error, int depth, Visited& visited, Leaves& leaves) {
    if (depth > deepestLevel || !visited.insert(error.get()).second) return;
    const std::size_t before = leaves.size();
    for (const ErrorRef& below : errorsBelow(*error)) {
        collectLeaves(below, depth + 1, visited, leaves);
    }
    if (leaves.size() == before) leaves.push_back(error);
}

bool isCloudError(const ErrorObject& error) {
    return error.domain == errorDomain::cloudKit;
}

/// In a batch one failing item fails all others, which then only say so: they go, unless there is
/// nothing else to tell.
Leaves withoutBatchFailures(const Leaves& leaves) {
    Leaves telling;
    std::copy_if(leaves.begin(), leaves.end(), std::back_inserter(telling), [](const auto& each) {
        return !(isCloudError(*each) && each->code == batchRequestFailed);
    });
    return telling.empty() ? leaves : telling;
}

std::string mostSpecificText(const ErrorObject& error) {
    for (const std::string_view key :
         {errorKey::localizedDescription, errorKey::cloudKitDescription}) {
        const ErrorValue* value = error.userInfo.find(key);
        const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(value);
        if (text != nullptr) return *text;
    }
    return error.localizedDescription();
}

std::string shownText(const ErrorObject& error) {
    std::string text = mostSpecificText(error);
    if (isCloudError(error)) text += " (CloudKit " + std::to_string(error.code) + ")";
    return text;
}

}  // namespace

ErrorRef platformForm(const std::exception& error) {
    if (const auto* platformError = dynamic_cast<const PlatformError*>(&error)) {
        return platformError->object();
    }
    if (const auto* refusal = dynamic_cast<const BridgeError*>(&error)) {
        return PlatformError::described(bridgeErrorDomain, 1, refusal->message()).object();
    }
    const bool isMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
    return PlatformError::described(exceptionDomain, 1, isMemory ? noMemory : error.what())
        .object();
}

std::string cloudErrorDescription(const ErrorRef& error) {
    if (error == nullptr) fatalError("There is no error to describe");
    Leaves leaves;
    Visited visited;
    collectLeaves(error, 0, visited, leaves);

    // By the composed form: texts that look the same are the same, and the order of UTF-8 bytes is
    // that of the Unicode scalar values.
    std::map<std::string, std::string> textsInOrder;
    for (const ErrorRef& leaf : withoutBatchFailures(leaves)) {
        std::string text = shownText(*leaf);
        std::string order = canonicalComposition(text);
        textsInOrder.try_emplace(std::move(order), std::move(text));
    }

    std::string line;
    std::size_t shown = 0;
    for (const auto& [order, text] : textsInOrder) {
        if (shown == shownTexts) break;
        if (shown++ > 0) line += "; ";
        line += text;
    }
    return line;
}

std::string cloudErrorDescription(const std::exception& error) {
    return cloudErrorDescription(platformForm(error));
}

}  // namespace kelto
