/* The C library's functions by which the library and SQLite change files and folders. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "interposing.h"

/* --- Bytes
 * ---------------------------------------------------------------------------------------- */

/* A write that may have to be done by half. `offset` is negative for one at the current place. */
struct pending_write {
    int descriptor;
    const void* bytes;
    size_t count;
    off_t offset;
};

static ssize_t write_really(const struct pending_write* what, size_t count) {
    if (what->offset < 0) {
        REAL(write);
        return real(what->descriptor, what->bytes, count);
    }
    REAL(pwrite);
    return real(what->descriptor, what->bytes, count, what->offset);
}

static void write_half(void* context) {
    const struct pending_write* what = context;
    (void)write_really(what, what->count / 2);
}

static ssize_t write_watched(struct pending_write what, const char* path) {
    const int error = begin_write(path, write_half, &what);
    const size_t count = error == CALL_FAULT_SHORT ? half_of(what.count) : what.count;
    const ssize_t written = error > 0 ? failed(error) : write_really(&what, count);
    if (written > 0) {
        const off_t start =
            what.offset >= 0 ? what.offset : lseek(what.descriptor, 0, SEEK_CUR) - written;
        note_file_change(CALL_WRITE, what.descriptor, path, start, what.bytes, (size_t)written);
    }
    end_change();
    return written;
}

EXPORTED ssize_t write(int descriptor, const void* bytes, size_t count) {
    REAL(write);
    const char* path = watched_descriptor(descriptor);
    if (path == NULL) return real(descriptor, bytes, count);
    return write_watched((struct pending_write){descriptor, bytes, count, -1}, path);
}

#define DEFINE_PWRITE(name, offset_type)                                                         \
    EXPORTED ssize_t name(int descriptor, const void* bytes, size_t count, offset_type offset) { \
        REAL(name);                                                                              \
        const char* path = watched_descriptor(descriptor);                                       \
        if (path == NULL) return real(descriptor, bytes, count, offset);                         \
        return write_watched((struct pending_write){descriptor, bytes, count, offset}, path);    \
    }
DEFINE_PWRITE(pwrite64, off64_t)
/* The one that write_really() goes on with. */
DEFINE_PWRITE(pwrite, off_t)

/* What was copied stands behind the place at which the source is open now. */
static void note_copied(int from, int to, const char* path, size_t count) {
    char* bytes = malloc(count);
    if (bytes == NULL) abort();
    ssize_t (*read_really)(int, void*, size_t, off_t) =
        __extension__(ssize_t(*)(int, void*, size_t, off_t)) dlsym(RTLD_NEXT, "pread");
    const off_t end = lseek(from, 0, SEEK_CUR);
    if (read_really(from, bytes, count, end - (off_t)count) != (ssize_t)count) abort();
    const off_t start = lseek(to, 0, SEEK_CUR) - (off_t)count;
    note_file_change(CALL_WRITE, to, path, start, bytes, count);
    free(bytes);
}

EXPORTED ssize_t copy_file_range(
    int from, off64_t* from_offset, int to, off64_t* to_offset, size_t count, unsigned flags) {
    REAL(copy_file_range);
    const char* path = watched_descriptor(to);
    if (path == NULL) return real(from, from_offset, to, to_offset, count, flags);
    const int error = begin_change(CALL_COPY_RANGE, path);
    if (error == CALL_FAULT_SHORT) count = 1000;
    const ssize_t copied =
        error > 0 ? failed(error) : real(from, from_offset, to, to_offset, count, flags);
    if (copied > 0) note_copied(from, to, path, (size_t)copied);
    end_change();
    return copied;
}

#define DEFINE_TRUNCATE(name, length_type)                                                 \
    EXPORTED int name(int descriptor, length_type length) {                                \
        REAL(name);                                                                        \
        const char* path = watched_descriptor(descriptor);                                 \
        if (path == NULL) return real(descriptor, length);                                 \
        const int error = begin_change(CALL_TRUNCATE, path);                               \
        const int result = error != 0 ? failed(error) : real(descriptor, length);          \
        if (result == 0) note_file_change(CALL_TRUNCATE, descriptor, path, length, "", 0); \
        end_change();                                                                      \
        return result;                                                                     \
    }
DEFINE_TRUNCATE(ftruncate, off_t)
DEFINE_TRUNCATE(ftruncate64, off64_t)

static bool is_folder(int descriptor) {
    struct statx status = {0};
    return statx(descriptor, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
           S_ISDIR(status.stx_mode);
}

#define DEFINE_FLUSH(name)                                                                  \
    EXPORTED int name(int descriptor) {                                                     \
        REAL(name);                                                                         \
        const char* path = watched_descriptor(descriptor);                                  \
        if (path == NULL) return real(descriptor);                                          \
        const enum call_kind kind = is_folder(descriptor) ? CALL_FLUSH_FOLDER : CALL_FLUSH; \
        const int error = begin_change(kind, path);                                         \
        const int result = error != 0 ? failed(error) : real(descriptor);                   \
        if (result == 0) note_file_change(kind, descriptor, path, 0, "", 0);                \
        end_change();                                                                       \
        return result;                                                                      \
    }
DEFINE_FLUSH(fsync)
DEFINE_FLUSH(fdatasync)

/* --- Entries of folders
 * --------------------------------------------------------------------------- */

EXPORTED int renameat(int old_folder, const char* from, int new_folder, const char* to) {
    REAL(renameat);
    char old_path[CALL_PATH_BYTES];
    char new_path[CALL_PATH_BYTES];
    if (!watched_path(old_folder, from, old_path) || !watched_path(new_folder, to, new_path)) {
        return real(old_folder, from, new_folder, to);
    }
    const int error = begin_change(CALL_RENAME, new_path);
    const int result = error != 0 ? failed(error) : real(old_folder, from, new_folder, to);
    if (result == 0) note_entry_change(CALL_RENAME, old_path, new_path);
    end_change();
    return result;
}

EXPORTED int rename(const char* from, const char* to) {
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

EXPORTED int unlinkat(int folder, const char* path, int flags) {
    REAL(unlinkat);
    char absolute[CALL_PATH_BYTES];
    if (!watched_path(folder, path, absolute)) return real(folder, path, flags);
    const int error = begin_change(CALL_UNLINK, absolute);
    const int result = error != 0 ? failed(error) : real(folder, path, flags);
    if (result == 0) note_entry_change(CALL_UNLINK, absolute, NULL);
    end_change();
    return result;
}

EXPORTED int unlink(const char* path) {
    return unlinkat(AT_FDCWD, path, 0);
}

EXPORTED int mkdirat(int folder, const char* path, mode_t mode) {
    REAL(mkdirat);
    char absolute[CALL_PATH_BYTES];
    if (!watched_path(folder, path, absolute)) return real(folder, path, mode);
    const int error = begin_change(CALL_MAKE_FOLDER, absolute);
    const int result = error != 0 ? failed(error) : real(folder, path, mode);
    if (result == 0) note_entry_change(CALL_MAKE_FOLDER, absolute, NULL);
    end_change();
    return result;
}

EXPORTED int mkdir(const char* path, mode_t mode) {
    return mkdirat(AT_FDCWD, path, mode);
}

EXPORTED int chmod(const char* path, mode_t mode) {
    REAL(chmod);
    char absolute[CALL_PATH_BYTES];
    if (!watched_path(AT_FDCWD, path, absolute)) return real(path, mode);
    const int error = begin_change(CALL_MODE, absolute);
    const int result = error != 0 ? failed(error) : real(path, mode);
    end_change();
    return result;
}

EXPORTED int fchmod(int descriptor, mode_t mode) {
    REAL(fchmod);
    const char* path = watched_descriptor(descriptor);
    if (path == NULL) return real(descriptor, mode);
    const int error = begin_change(CALL_MODE, path);
    const int result = error != 0 ? failed(error) : real(descriptor, mode);
    end_change();
    return result;
}
