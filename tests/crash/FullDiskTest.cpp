// A disk that is really full, at every point of an exchange, and folders that are really read only.
// Both need a file system of their own, which only root may mount.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include "tests/crash/CrashReport.hpp"
#include "tests/crash/ReferenceStory.hpp"
#include "tests/crash/StoreInspection.hpp"
#include "tests/crash/WatchedHost.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

constexpr std::size_t pageBytes = 4096;

/// A file system in memory at a folder, gone with this object.
class SmallDisk {
public:
    SmallDisk(std::string place, std::size_t pages) : place_(std::move(place)) {
        const std::string options = "size=" + std::to_string(pages * pageBytes);
        if (mount("tmpfs", place_.c_str(), "tmpfs", 0, options.c_str()) != 0) {
            throw std::runtime_error("cannot mount: " + std::string(std::strerror(errno)));
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() { (void)umount2(place_.c_str(), MNT_DETACH); }

    /// Gives it another size, while it is in use.
    void resize(std::size_t pages) const {
        const std::string options = "size=" + std::to_string(pages * pageBytes);
        if (mount("tmpfs", place_.c_str(), "tmpfs", MS_REMOUNT, options.c_str()) != 0) {
            throw std::runtime_error("cannot resize: " + std::string(std::strerror(errno)));
        }
    }
    void setReadOnly(bool isReadOnly) const {
        unsigned long flags = MS_REMOUNT;
        if (isReadOnly) flags |= MS_RDONLY;
        if (mount("tmpfs", place_.c_str(), "tmpfs", flags, nullptr) != 0) {
            throw std::runtime_error("cannot remount: " + std::string(std::strerror(errno)));
        }
    }
    [[nodiscard]] std::size_t usedPages() const {
        struct statvfs room {};
        if (statvfs(place_.c_str(), &room) != 0) throw std::runtime_error("no disk " + place_);
        return (room.f_blocks - room.f_bfree) * room.f_frsize / pageBytes;
    }

private:
    std::string place_;
};

constexpr std::size_t roomyPages = 20'000;

/// Mounts of this process and its children that nobody else sees; false where that is not allowed.
bool canMount() {
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

enum class Process : std::uint8_t { fresh, used };
/// Which of a host's two places is the small disk.
enum class Place : std::uint8_t { library, exchange };

/// A library whose one half lies on a disk of its own, just before an exchange.
class DiskExchange {
public:
    DiskExchange(const ReferenceStep& step, Place place, Process process)
        : step_(step), disk_(prepared(folder_, step, place), roomyPages) {
        // The copy that prepared() has made is under the new disk now.
        copyOnto(place);
        request_ = step.step.text(folder_);
        host_.emplace(plainHost(folder_));
        if (process == Process::used) (void)host_->ask(folder_.emptyRequest());
    }

    /// Leaves only so many pages; whether the exchange succeeds nevertheless.
    bool playFull(std::size_t freePages, CrashReport& report) {
        // No pages at all would mean: without a limit.
        disk_.resize(std::max<std::size_t>(disk_.usedPages() + freePages, 1));
        const bool isAnswered = play("enough space", report);
        disk_.resize(roomyPages);
        goOn();
        return isAnswered;
    }

    /// Nothing can be written; an exchange that has something to write is refused.
    void playReadOnly(CrashReport& report) {
        disk_.setReadOnly(true);
        const bool isAnswered = play("", report);
        disk_.setReadOnly(false);
        if (isAnswered) throw CrashFinding("nothing could be written, and nobody has noticed");
        goOn();
    }

private:
    static std::string prepared(const RunFolder& folder, const ReferenceStep& step, Place place) {
        folder.copyFrom(step.worldBefore);
        const std::string mountPoint =
            place == Place::library ? folder.dataHome() : folder.exchange();
        std::filesystem::remove_all(mountPoint);
        std::filesystem::create_directories(mountPoint);
        return mountPoint;
    }

    void copyOnto(Place place) const {
        const std::string name = place == Place::library ? "/data" : "/exchange";
        if (!exists(step_.worldBefore + name)) return;
        std::filesystem::copy(step_.worldBefore + name,
                              folder_.world() + name,
                              std::filesystem::copy_options::recursive);
    }

    bool play(const std::string& cause, CrashReport& report) {
        const HostAnswer answer = host_->ask(request_);
        if (!answer.response().isError()) {
            report.count("exchanges answered all the same");
            requireAfter(answer);
            return true;
        }
        const std::string sentence = answer.response().error();
        const bool namesSomething = sentence.find("“") != sentence.npos;
        if (!namesSomething || sentence.find(cause) == sentence.npos ||
            sentence.find(".kelto-") != sentence.npos) {
            throw CrashFinding("a poor sentence: " + sentence);
        }
        report.count("refusals: " + sentence);
        return false;
    }

    /// There is room again: the same process finds the library as it was, or merged, and goes on.
    void goOn() {
        const std::string found = folder_.withoutPaths(host_->ask(folder_.emptyRequest()).text);
        if (found != step_.before && found != step_.after) {
            throw CrashFinding("neither what was before nor what should come: " +
                               found.substr(0, 300));
        }
        requireAfter(host_->ask(request_));
        if (host_->wait() != HostEnd()) throw CrashFinding("the host ends badly");
        if (!requireRecovery(folder_, step_)) throw CrashFinding("what was answered is lost");
    }

    void requireAfter(const HostAnswer& answer) const {
        if (folder_.withoutPaths(answer.text) != step_.after) {
            throw CrashFinding("a wrong answer: " + answer.text.substr(0, 300));
        }
        requireReceived(folder_, step_.step.received);
    }

    const ReferenceStep& step_;
    RunFolder folder_;
    SmallDisk disk_;
    std::string request_;
    std::optional<HostProcess> host_;
};

std::string nameOf(Place place, Process process) {
    return std::string(place == Place::library ? "library" : "exchange folder") +
           (process == Process::fresh ? ", fresh" : ", used");
}

void fill(const ReferenceStory& story, Place place, Process process, CrashReport& report) {
    const std::size_t stride = report.effort().isLong ? 1 : 61;
    unsigned number = 0;
    for (const ReferenceStep& step : story.steps()) {
        ++number;
        // Once it has succeeded with some room, it will with more.
        std::size_t successes = 0;
        for (std::size_t pages = 0; successes < 3 && pages < 2000; pages += stride) {
            report.run("full " + nameOf(place, process) + ", step " + std::to_string(number) +
                           ", pages left " + std::to_string(pages),
                       [&] {
                           if (DiskExchange(step, place, process).playFull(pages, report)) {
                               ++successes;
                           }
                       });
        }
    }
}

}  // namespace

void testFullDisks(CrashReport& report) {
    if (!canMount()) {
        report.skip("only root may mount the small and read-only disks that this test needs");
        return;
    }
    const ReferenceStory story(report.effort().seed, report.effort().isLong ? 4 : 2);
    for (const Place place : {Place::library, Place::exchange}) {
        for (const Process process : {Process::fresh, Process::used}) {
            fill(story, place, process, report);
        }
        // A disk on which a file is open for writing cannot be made read only.
        const Process process = place == Place::library ? Process::fresh : Process::used;
        for (const ReferenceStep& step : story.steps()) {
            report.run("read-only " + nameOf(place, process),
                       [&] { DiskExchange(step, place, process).playReadOnly(report); });
        }
    }
}

}  // namespace kelto
