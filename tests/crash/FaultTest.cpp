// Each call that an exchange makes to files fails once, with each cause that it can have.

#include <cerrno>
#include <cstring>
#include <vector>

#include "tests/crash/CrashReport.hpp"
#include "tests/crash/ReferenceStory.hpp"
#include "tests/crash/StoreInspection.hpp"
#include "tests/crash/WatchedHost.hpp"

namespace kelto {

namespace {

enum class Process : std::uint8_t { fresh, used };

std::vector<int> errorsOf(call_kind kind) {
    switch (kind) {
        case CALL_CREATE:
            return {ENOSPC, EACCES, EMFILE, EIO, EINTR};
        case CALL_WRITE:
            return {EIO, ENOSPC, EDQUOT, EINTR, CALL_FAULT_SHORT};
        case CALL_TRUNCATE:
            return {EIO, EINTR};
        case CALL_FLUSH:
            return {EIO, ENOSPC, EDQUOT, EINTR};
        case CALL_FLUSH_FOLDER:
            return {EIO, ENOSPC, EINVAL};
        case CALL_RENAME:
            return {EIO, ENOSPC, EACCES};
        case CALL_UNLINK:
            return {EIO, EACCES};
        case CALL_MAKE_FOLDER:
            return {ENOSPC, EACCES, EIO};
        case CALL_COPY_RANGE:
            return {EIO, ENOSPC, EXDEV, ENOSYS, EINTR, CALL_FAULT_SHORT};
        case CALL_MODE:
            return {EPERM};
        case CALL_OPEN:
            return {EMFILE, EACCES, EIO, ENOMEM, EINTR};
        case CALL_OPEN_FOLDER:
            return {EMFILE, EACCES, EIO, ENOSYS};
        case CALL_READ:
            return {EIO, EINTR, CALL_FAULT_SHORT};
        case CALL_STATUS:
            return {EIO, EACCES, ENOMEM};
        case CALL_LIST:
            return {EIO};
        case CALL_MAP:
            return {ENOMEM, EACCES};
        case CALL_LOCK:
            return {EAGAIN, ENOLCK, EIO};
        case CALL_NONE:
        case CALL_KINDS:
            break;
    }
    return {};
}

std::string nameOfError(int error) {
    return error == CALL_FAULT_SHORT ? "half done" : strerrorname_np(error);
}

/// What the host does after a refusal.
enum class Afterwards : std::uint8_t { goesOn, isKilled };

struct FaultCase {
    std::string name;
    const ReferenceStep* step;
    Process process;
    CallFault fault;
    Afterwards afterwards;
};

/// A host just before the exchange that is going to have a fault.
class FaultyExchange {
public:
    FaultyExchange(const ReferenceStep& step, Process process) : step_(step) {
        folder_.copyFrom(step.worldBefore);
        host_.emplace(folder_);
        if (process == Process::used) (void)ask(folder_.emptyRequest());
    }

    /// The kinds of the calls in an exchange without a fault, the first one at place 1.
    [[nodiscard]] std::vector<call_kind> calls() {
        host_->arm();
        (void)ask(step_.step.text(folder_));
        std::vector<call_kind> kinds{CALL_NONE};
        for (std::uint64_t call = 1; call <= host_->calls(); ++call) {
            kinds.push_back(host_->kindOf(call));
        }
        return kinds;
    }

    void play(const CallFault& fault, Afterwards afterwards, CrashReport& report) {
        host_->arm(fault);
        const HostAnswer answer = ask(step_.step.text(folder_));
        const bool hasHappened = host_->hasHappened();
        place_ = host_->happenedPath();
        host_->disarm();
        if (answer.callbackCount != 1) throw CrashFinding("the callback came more than once");
        if (!hasHappened) report.count("calls that were not reached again");
        if (answer.response().isError()) {
            requireRefusal(answer.response(), fault);
            requireUnchanged(answer.response().error(), afterwards, report);
            if (afterwards == Afterwards::isKilled) {
                (void)requireRecovery(folder_, step_);
                return;
            }
        } else {
            requireSuccess(answer);
            if (hasHappened) report.count("faults without consequence");
        }
        requireSuccess(ask(step_.step.text(folder_)));
        if (const HostEnd end = host_->wait(); end != HostEnd()) {
            throw CrashFinding("the host ends badly");
        }
        if (!requireRecovery(folder_, step_)) throw CrashFinding("what was answered is not there");
    }

private:
    HostAnswer ask(const std::string& request) {
        auto answer = host_->ask(request);
        if (!answer) throw CrashFinding("the host has died");
        return *answer;
    }

    [[nodiscard]] std::string where() const {
        if (place_.empty()) return {};
        return " (the call failed at " + place_.substr(folder_.world().size()) + ")";
    }

    void requireSuccess(const HostAnswer& answer) {
        if (folder_.withoutPaths(answer.text) != step_.after) {
            throw CrashFinding("a wrong answer" + where() + ": " + answer.text.substr(0, 300));
        }
        requireReceived(folder_, step_.step.received);
    }

    void requireRefusal(const Response& refusal, const CallFault& fault) const {
        const std::string sentence = refusal.error();
        const bool namesSomething = sentence.find("“") != sentence.npos;
        const bool isFull = fault.error == ENOSPC || fault.error == EDQUOT;
        // Of files that the database makes for itself, it does not say why it could not.
        const bool isDatabases = place_.find("Kelto.store-") != place_.npos;
        const std::string_view cause = isDatabases ? "may be full" : "enough space";
        const bool namesCause = !isFull || sentence.find("enough space") != sentence.npos ||
                                sentence.find(cause) != sentence.npos;
        if (!namesSomething || !namesCause || sentence.size() < 20 || sentence.back() != '.' ||
            sentence.find(".kelto-") != sentence.npos) {
            throw CrashFinding("a poor sentence" + where() + ": " + sentence);
        }
    }

    /// The same process, or the next one when this one is killed now, finds the library as it was.
    void requireUnchanged(const std::string& sentence, Afterwards afterwards, CrashReport& report) {
        std::string found;
        if (afterwards == Afterwards::goesOn) {
            found = folder_.withoutPaths(ask(folder_.emptyRequest()).text);
        } else {
            (void)host_->killAndReadAnswer();
            found = snapshotOf(folder_);
        }
        if (found == step_.before) {
            report.count("refusals that have left the library as it was");
        } else if (found == step_.after && isExporting()) {
            report.count("refusals of a file for the host, after the merge");
        } else if (found == step_.after && isReadingStore(sentence)) {
            report.count("refusals to read the store for the host, after the merge");
        } else {
            throw CrashFinding("refused" + where() + " with “" + sentence +
                               "”, and then found: " + found.substr(0, 300));
        }
    }

    // What comes after the save: reading the store, and writing files for the host.
    [[nodiscard]] bool isExporting() const {
        return place_.starts_with(folder_.exchange()) || place_.starts_with(folder_.payloads());
    }
    [[nodiscard]] bool isReadingStore(const std::string& sentence) const {
        return place_.starts_with(folder_.store()) &&
               sentence.find("couldn’t be saved") == sentence.npos;
    }

    const ReferenceStep& step_;
    RunFolder folder_;
    std::optional<WatchedHost> host_;
    std::string place_;
};

std::vector<FaultCase> casesOf(const ReferenceStory& story) {
    std::vector<FaultCase> cases;
    unsigned number = 0;
    for (const ReferenceStep& step : story.steps()) {
        ++number;
        for (const Process process : {Process::fresh, Process::used}) {
            const auto kinds = FaultyExchange(step, process).calls();
            for (std::uint64_t call = 1; call < kinds.size(); ++call) {
                const std::string name = "step " + std::to_string(number) +
                                         (process == Process::fresh ? " fresh" : " used") +
                                         " call " + std::to_string(call) + " " +
                                         std::string(nameOf(kinds[call])) + " ";
                const auto add = [&](int error, Afterwards afterwards) {
                    const bool isKilled = afterwards == Afterwards::isKilled;
                    cases.push_back({name + nameOfError(error) + (isKilled ? ", then killed" : ""),
                                     &step,
                                     process,
                                     {call, error},
                                     afterwards});
                };
                for (const int error : errorsOf(kinds[call])) add(error, Afterwards::goesOn);
                if (kinds[call] <= CALL_LAST_CHANGE) add(EIO, Afterwards::isKilled);
            }
        }
    }
    return cases;
}

}  // namespace

void testFaults(CrashReport& report) {
    const ReferenceStory story(report.effort().seed, 4);
    const std::vector<FaultCase> cases = casesOf(story);
    report.say(std::to_string(cases.size()) + " ways in which a call of one of " +
               std::to_string(story.steps().size()) + " exchanges can fail");
    const std::size_t stride =
        report.effort().stride(cases.size(), {.shortForm = 30, .longForm = 0});
    for (std::size_t i = 0; i < cases.size(); i += stride) {
        report.run(cases[i].name, [&] {
            FaultyExchange(*cases[i].step, cases[i].process)
                .play(cases[i].fault, cases[i].afterwards, report);
        });
    }
}

}  // namespace kelto
