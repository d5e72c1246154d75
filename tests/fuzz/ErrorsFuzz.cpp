#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/Text.hpp"
#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/InputReader.hpp"

namespace kelto {

namespace {

/// Errors that refer to each other in any way, in circles too.
class ErrorGraph {
public:
    explicit ErrorGraph(InputReader& input) {
        const std::size_t count = 1 + input.byte() % 40;
        for (std::size_t i = 0; i < count; ++i) errors_.push_back(makeError(input));
        while (!input.isAtEnd()) join(input);
    }
    ErrorGraph(const ErrorGraph&) = delete;
    ErrorGraph& operator=(const ErrorGraph&) = delete;
    ~ErrorGraph() {
        // A circle of owners would never end by itself.
        for (const auto& error : errors_) error->userInfo.entries.clear();
    }

    [[nodiscard]] ErrorRef root() const { return errors_.front(); }
    /// All that any of them could be shown as.
    [[nodiscard]] std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const auto& error : errors_) {
            std::string text = error->localizedDescription();
            for (const std::string_view key :
                 {errorKey::cloudKitDescription, errorKey::localizedDescription}) {
                const ErrorValue* value = error->userInfo.find(key);
                const auto* own = value == nullptr ? nullptr : std::get_if<std::string>(value);
                if (own != nullptr) text = *own;
            }
            if (error->domain == errorDomain::cloudKit) {
                text += " (CloudKit " + std::to_string(error->code) + ")";
            }
            texts.push_back(std::move(text));
        }
        return texts;
    }

private:
    static std::shared_ptr<ErrorObject> makeError(InputReader& input) {
        static constexpr std::array<std::string_view, 4> domains{
            errorDomain::cloudKit, errorDomain::cocoa, errorDomain::posix, ""};
        const std::string_view domain = domains.at(input.byte() % domains.size());
        return std::make_shared<ErrorObject>(std::string(domain),
                                             static_cast<std::int64_t>(input.byte()) - 8);
    }

    void join(InputReader& input) {
        static constexpr std::array<std::string_view, 7> keys{errorKey::localizedDescription,
                                                              errorKey::localizedFailure,
                                                              errorKey::localizedFailureReason,
                                                              errorKey::underlyingError,
                                                              errorKey::cloudKitDescription,
                                                              errorKey::partialErrorsByItemId,
                                                              errorKey::filePath};
        ErrorObject& error = *errors_[input.byte() % errors_.size()];
        const std::string_view key = keys.at(input.byte() % keys.size());
        error.userInfo.entries.emplace_back(key, value(input, input.byte()));
    }

    [[nodiscard]] ErrorValue value(InputReader& input, std::uint8_t kind) const {
        switch (kind % 4) {
            case 0:
                return std::string(input.line());
            case 1:
                return any(input);
            case 2: {
                ErrorDictionary items;
                for (int i = input.byte() % 20; i > 0; --i) {
                    items.entries.emplace_back(std::to_string(i), value(input, 1));
                }
                // One that is no error spoils the whole dictionary.
                if (kind >= 200) items.entries.emplace_back("", std::string("text"));
                return items;
            }
            default:
                return std::monostate();
        }
    }

    [[nodiscard]] ErrorRef any(InputReader& input) const {
        const std::uint8_t number = input.byte();
        return number == 255 ? nullptr : ErrorRef(errors_[number % errors_.size()]);
    }

    std::vector<std::shared_ptr<ErrorObject>> errors_;
};

}  // namespace

void fuzzErrors(std::string_view bytes) {
    InputReader input(bytes);
    const ErrorGraph graph(input);
    const std::string line = cloudErrorDescription(graph.root());
    require(cloudErrorDescription(graph.root()) == line, "one error is described in one way");

    const std::vector<std::string> texts = graph.texts();
    const auto startsLine = [&](const std::string& text) { return line.starts_with(text); };
    require(std::any_of(texts.begin(), texts.end(), startsLine), "the line begins with an error");
    std::size_t longest = 0;
    for (const std::string& text : texts) longest = std::max(longest, text.size());
    require(line.size() <= 3 * longest + 4, "at most three errors are shown");

    const JsonValue envelope = JsonValue::parse(errorEnvelope(PlatformError(graph.root())));
    require(*envelope.member("error")->string() == repairedUtf8(line),
            "the envelope holds the line");
}

}  // namespace kelto
