/* The C library's functions by which the library and SQLite open files and look at them, each with
   the same shape: what does not lead below the watched folder goes straight on. */
#define _GNU_SOURCE
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "interposing.h"

/* --- Opening and closing ------------------------------------------------------------------------
 */

static bool is_creating(int flags) {
    return (flags & O_CREAT) != 0;
}

/* What open() and its kin have in common; `folder` is AT_FDCWD for those without one. */
static int open_watched(
    int folder, const char* path, int flags, mode_t mode, const char* absolute) {
    REAL(openat);
    const bool may_create = is_creating(flags) && faccessat(folder, path, F_OK, 0) != 0;
    int error = 0;
    if (may_create) {
        error = begin_change(CALL_CREATE, absolute);
    } else {
        error = begin_look((flags & O_DIRECTORY) != 0 ? CALL_OPEN_FOLDER : CALL_OPEN, absolute);
    }
    const int descriptor = error != 0 ? failed(error) : real(folder, path, flags, mode);
    if (descriptor >= 0) {
        note_descriptor(descriptor, absolute);
        if (may_create) note_file_change(CALL_CREATE, descriptor, absolute, 0, "", 0);
    }
    if (may_create) end_change();
    return descriptor;
}

#define MODE_FROM(last, flags)            \
    mode_t mode = 0;                      \
    if (is_creating(flags)) {             \
        va_list more;                     \
        va_start(more, last);             \
        mode = (mode_t)va_arg(more, int); \
        va_end(more);                     \
    }

#define DEFINE_OPEN(name)                                                            \
    EXPORTED int name(const char* path, int flags, ...) {                            \
        REAL(name);                                                                  \
        MODE_FROM(flags, flags)                                                      \
        char absolute[CALL_PATH_BYTES];                                              \
        if (!watched_path(AT_FDCWD, path, absolute)) return real(path, flags, mode); \
        return open_watched(AT_FDCWD, path, flags, mode, absolute);                  \
    }
DEFINE_OPEN(open)
DEFINE_OPEN(open64)

#define DEFINE_OPENAT(name)                                                                \
    EXPORTED int name(int folder, const char* path, int flags, ...) {                      \
        REAL(name);                                                                        \
        MODE_FROM(flags, flags)                                                            \
        char absolute[CALL_PATH_BYTES];                                                    \
        if (!watched_path(folder, path, absolute)) return real(folder, path, flags, mode); \
        return open_watched(folder, path, flags, mode, absolute);                          \
    }
DEFINE_OPENAT(openat64)
/* The one that open_watched() goes on with: it needs the C library's own. */
DEFINE_OPENAT(openat)

EXPORTED int close(int descriptor) {
    REAL(close);
    note_descriptor(descriptor, NULL);
    return real(descriptor);
}

/* Only the one call that has no function of its own is looked at. */
EXPORTED long syscall(long number, ...) {
    REAL(syscall);
    long a[6];
    va_list more;
    va_start(more, number);
    for (int i = 0; i < 6; ++i) a[i] = va_arg(more, long);
    va_end(more);
    char absolute[CALL_PATH_BYTES];
    if (number != SYS_openat2 || !watched_path((int)a[0], (const char*)a[1], absolute)) {
        return real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
    }
    const int error = begin_look(CALL_OPEN_FOLDER, absolute);
    if (error != 0) return failed(error);
    const long descriptor = real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
    if (descriptor >= 0) note_descriptor((int)descriptor, absolute);
    return descriptor;
}

/* --- Looking
 * ---------------------------------------------------------------------------------------- */

#define DEFINE_STATUS(name, status_type)                              \
    EXPORTED int name(const char* path, struct status_type* answer) { \
        REAL(name);                                                   \
        char absolute[CALL_PATH_BYTES];                               \
        if (watched_path(AT_FDCWD, path, absolute)) {                 \
            const int error = begin_look(CALL_STATUS, absolute);      \
            if (error != 0) return failed(error);                     \
        }                                                             \
        return real(path, answer);                                    \
    }
DEFINE_STATUS(stat, stat)
DEFINE_STATUS(stat64, stat64)
DEFINE_STATUS(lstat, stat)
DEFINE_STATUS(lstat64, stat64)

#define DEFINE_FSTAT(name, status_type)                                     \
    EXPORTED int name(int descriptor, struct status_type* answer) {         \
        REAL(name);                                                         \
        const char* path = watched_descriptor(descriptor);                  \
        const int error = path == NULL ? 0 : begin_look(CALL_STATUS, path); \
        return error != 0 ? failed(error) : real(descriptor, answer);       \
    }
DEFINE_FSTAT(fstat, stat)
DEFINE_FSTAT(fstat64, stat64)

EXPORTED int fstatat(int folder, const char* path, struct stat* answer, int flags) {
    REAL(fstatat);
    char absolute[CALL_PATH_BYTES];
    if (watched_path(folder, path, absolute)) {
        const int error = begin_look(CALL_STATUS, absolute);
        if (error != 0) return failed(error);
    }
    return real(folder, path, answer, flags);
}

EXPORTED int access(const char* path, int mode) {
    REAL(access);
    char absolute[CALL_PATH_BYTES];
    if (watched_path(AT_FDCWD, path, absolute)) {
        const int error = begin_look(CALL_STATUS, absolute);
        if (error != 0) return failed(error);
    }
    return real(path, mode);
}

EXPORTED char* realpath(const char* path, char* resolved) {
    REAL(realpath);
    char absolute[CALL_PATH_BYTES];
    if (watched_path(AT_FDCWD, path, absolute)) {
        errno = begin_look(CALL_STATUS, absolute);
        if (errno != 0) return NULL;
    }
    return real(path, resolved);
}

EXPORTED DIR* opendir(const char* path) {
    REAL(opendir);
    char absolute[CALL_PATH_BYTES];
    if (!watched_path(AT_FDCWD, path, absolute)) return real(path);
    errno = begin_look(CALL_OPEN_FOLDER, absolute);
    if (errno != 0) return NULL;
    DIR* folder = real(path);
    if (folder != NULL) note_descriptor(dirfd(folder), absolute);
    return folder;
}

EXPORTED int closedir(DIR* folder) {
    REAL(closedir);
    note_descriptor(dirfd(folder), NULL);
    return real(folder);
}

EXPORTED struct dirent* readdir(DIR* folder) {
    REAL(readdir);
    const char* path = watched_descriptor(dirfd(folder));
    const int error = path == NULL ? 0 : begin_look(CALL_LIST, path);
    if (error == 0) return real(folder);
    errno = error;
    return NULL;
}

#define DEFINE_MAP(name, offset_type)                                                            \
    EXPORTED void* name(                                                                         \
        void* place, size_t length, int access, int flags, int descriptor, offset_type offset) { \
        REAL(name);                                                                              \
        const char* path = watched_descriptor(descriptor);                                       \
        const int error = path == NULL ? 0 : begin_look(CALL_MAP, path);                         \
        if (error == 0) return real(place, length, access, flags, descriptor, offset);           \
        errno = error;                                                                           \
        return MAP_FAILED;                                                                       \
    }
DEFINE_MAP(mmap, off_t)
DEFINE_MAP(mmap64, off64_t)

/* Only taking a lock is watched: nobody would know what to do about one that cannot be given back.
 */
static bool takes_lock(int command, const void* argument) {
    return (command == F_SETLK || command == F_SETLKW) &&
           ((const struct flock*)argument)->l_type != F_UNLCK;
}

#define DEFINE_FCNTL(name)                                   \
    EXPORTED int name(int descriptor, int command, ...) {    \
        REAL(name);                                          \
        va_list more;                                        \
        va_start(more, command);                             \
        void* argument = va_arg(more, void*);                \
        va_end(more);                                        \
        const char* path = watched_descriptor(descriptor);   \
        if (path != NULL && takes_lock(command, argument)) { \
            const int error = begin_look(CALL_LOCK, path);   \
            if (error != 0) return failed(error);            \
        }                                                    \
        return real(descriptor, command, argument);          \
    }
DEFINE_FCNTL(fcntl)
DEFINE_FCNTL(fcntl64)

EXPORTED ssize_t read(int descriptor, void* buffer, size_t count) {
    REAL(read);
    const char* path = watched_descriptor(descriptor);
    const int error = path == NULL ? 0 : begin_look(CALL_READ, path);
    if (error > 0) return failed(error);
    return real(descriptor, buffer, error == CALL_FAULT_SHORT ? half_of(count) : count);
}

#define DEFINE_PREAD(name, offset_type)                                                      \
    EXPORTED ssize_t name(int descriptor, void* buffer, size_t count, offset_type offset) {  \
        REAL(name);                                                                          \
        const char* path = watched_descriptor(descriptor);                                   \
        const int error = path == NULL ? 0 : begin_look(CALL_READ, path);                    \
        if (error > 0) return failed(error);                                                 \
        return real(                                                                         \
            descriptor, buffer, error == CALL_FAULT_SHORT ? half_of(count) : count, offset); \
    }
DEFINE_PREAD(pread, off_t)
DEFINE_PREAD(pread64, off64_t)
