#include "tools/keltoctl/Explanation.hpp"

#include <cstdlib>
#include <filesystem>
#include <unordered_set>

#include <glib.h>

#include "kelto/AppleBridge/AppleStore.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/Task.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

/// A private folder that is gone at the end.
class ScratchFolder {
public:
    ScratchFolder() {
        std::error_code error;
        const auto above = std::filesystem::absolute(std::filesystem::temp_directory_path(error));
        path_ = (above / "keltoctl-XXXXXX").string();
        if (error || ::mkdtemp(path_.data()) == nullptr) {
            throw Refusal(
                "no folder can be made for a copy of the library's database; set TMPDIR to a "
                "folder that may be written.");
        }
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// As the library itself would word it in its answer.
std::string sentenceOf(const std::exception& error) {
    const JsonValue envelope = JsonValue::parse(errorEnvelope(error));
    return *envelope.member("error")->string();
}

DetachedTask rehearse(AppleStore& store,
                      LargeText request,
                      std::string folder,
                      std::optional<Explanation>& answer) {
    Explanation explanation;
    try {
        Rehearsal rehearsal = co_await store.rehearse(std::move(request), std::move(folder));
        explanation.decisions = std::move(rehearsal.decisions);
        explanation.refusedRecord = rehearsal.refusedRecord;
        if (rehearsal.refusal) std::rethrow_exception(rehearsal.refusal);
    } catch (const std::exception& error) {
        explanation.refusal = sentenceOf(error);
    }
    answer = std::move(explanation);
}

}  // namespace

Explanation explain(std::string_view request) {
    const ScratchFolder scratch;
    AppleStore store(Platform::current());
    std::optional<Explanation> answer;
    rehearse(store, LargeText(request), scratch.path(), answer);
    while (!answer) g_main_context_iteration(nullptr, TRUE);
    return *std::move(answer);
}

}  // namespace kelto::ctl
