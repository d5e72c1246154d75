#include "tests/support/FaultyDatabase.hpp"

#include <array>
#include <cerrno>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kelto {

namespace {

using Call = FaultyDatabase::Call;

struct Fault {
    Call call;
    std::string pathEnd;
    int errorNumber;
};

// Checkpoints are made on a thread of their own.
std::mutex faultMutex;
std::optional<Fault> fault;

/// The number of the failure, 0 when the call succeeds.
int failureOf(Call call, std::string_view path) {
    const std::lock_guard lock(faultMutex);
    return fault && fault->call == call && path.ends_with(fault->pathEnd) ? fault->errorNumber : 0;
}

int failureOf(Call call, int descriptor) {
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, 4096> path{};
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    if (length < 0) return 0;
    return failureOf(call, std::string_view(path.data(), static_cast<std::size_t>(length)));
}

bool fails(int errorNumber) {
    if (errorNumber == 0) return false;
    errno = errorNumber;
    return true;
}

int openFile(const char* path, int flags, int mode) {
    if (fails(failureOf(Call::open, path))) return -1;
    const bool writes = (flags & O_ACCMODE) != O_RDONLY;
    if (writes && fails(failureOf(Call::openForWriting, path))) return -1;
    if ((flags & O_CREAT) != 0 && fails(failureOf(Call::create, path))) return -1;
    return ::open(path, flags, mode);
}

ssize_t writeAt(int descriptor, const void* bytes, std::size_t size, off_t place) {
    if (fails(failureOf(Call::write, descriptor))) return -1;
    return ::pwrite(descriptor, bytes, size, place);
}

/// In the place of the system's own, for SQLite only; none: the system's own again.
void replaceCalls(bool byOurs) {
    sqlite3_vfs* const files = sqlite3_vfs_find("unix");
    const auto set = [&](const char* name, sqlite3_syscall_ptr ours) {
        files->xSetSystemCall(files, name, byOurs ? ours : nullptr);
    };
    set("open", reinterpret_cast<sqlite3_syscall_ptr>(&openFile));
    set("pwrite64", reinterpret_cast<sqlite3_syscall_ptr>(&writeAt));
}

}  // namespace

FaultyDatabase::FaultyDatabase(Call call, std::string pathEnd, int errorNumber) {
    {
        const std::lock_guard lock(faultMutex);
        fault = Fault{call, std::move(pathEnd), errorNumber};
    }
    replaceCalls(true);
}

FaultyDatabase::~FaultyDatabase() {
    replaceCalls(false);
    const std::lock_guard lock(faultMutex);
    fault.reset();
}

}  // namespace kelto

// SQLite calls this one by its name: the program's own comes before the system's, if it is shown.
extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) {
    if (kelto::fails(kelto::failureOf(kelto::FaultyDatabase::Call::sync, descriptor))) return -1;
    return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}
