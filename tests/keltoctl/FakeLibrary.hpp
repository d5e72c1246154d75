#pragma once

#include <map>
#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Library.hpp"

namespace kelto::ctl {

/// A library in memory, as far as this tool needs one: it keeps the records it is sent (a thing
/// only when it is not older than the stored one), writes payloads into "received" and answers with
/// everything it has. It keeps the requests, so that a test can see what travelled.
class FakeLibrary final : public Library {
public:
    std::vector<JsonValue> requests;
    std::string refusal;  ///< when not empty, the answer is an error with this sentence
    std::map<std::string, JsonValue> projects;
    std::map<std::string, JsonValue> tags;
    std::map<std::string, JsonValue> things;
    std::map<std::string, std::string> payloads;  ///< by thing and key

    [[nodiscard]] std::optional<std::string> groupPath() override { return "/group"; }
    [[nodiscard]] bool cloudAvailable() override { return true; }
    [[nodiscard]] std::string exchange(std::string_view request) override;

    [[nodiscard]] const JsonElements& lastRecords() const {
        return *requests.back().member("records")->array();
    }

private:
    void apply(const JsonValue& record);
    [[nodiscard]] JsonValue exported(const JsonValue& thing,
                                     const std::string& received,
                                     const JsonValue& known) const;
};

/// The text under a key of a record; "" when there is none.
[[nodiscard]] std::string textOf(const JsonValue& record, std::string_view key);

}  // namespace kelto::ctl
