#define _GNU_SOURCE
#include "watched_calls.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

enum { MOST_DESCRIPTORS = 1024 };

static struct call_control* control;
static size_t root_length;
static int journal = -1;
static pthread_mutex_t change_turn = PTHREAD_MUTEX_INITIALIZER;
static pthread_mutex_t names_turn = PTHREAD_MUTEX_INITIALIZER;
/* Names are never freed: another thread may hold one, and the program soon ends. */
static const char* names[MOST_DESCRIPTORS];

/* The C library's own functions call each other without passing through here, so what is used here
   must be called under the names that nobody has taken. */
static void open_control(void) {
    const char* path = getenv(CALL_CONTROL_VARIABLE);
    if (path == NULL) return;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) abort();
    void* mapped =
        mmap(NULL, sizeof(struct call_control), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapped == MAP_FAILED) abort();
    close(file);
    struct call_control* found = mapped;
    root_length = strlen(found->root);
    if (found->journal[0] != '\0') {
        journal = open(found->journal, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        if (journal < 0) abort();
    }
    control = found;
}

__attribute__((constructor)) static void start(void) {
    open_control();
}

static bool is_below_root(const char* path) {
    return control != NULL && strncmp(path, control->root, root_length) == 0 &&
           (path[root_length] == '/' || path[root_length] == '\0');
}

const char* watched_descriptor(int descriptor) {
    if (control == NULL || descriptor < 0 || descriptor >= MOST_DESCRIPTORS) return NULL;
    pthread_mutex_lock(&names_turn);
    const char* name = names[descriptor];
    pthread_mutex_unlock(&names_turn);
    return name;
}

bool watched_path(int folder, const char* path, char absolute[CALL_PATH_BYTES]) {
    if (control == NULL || path == NULL) return false;
    int length = 0;
    if (path[0] == '/') {
        length = snprintf(absolute, CALL_PATH_BYTES, "%s", path);
    } else {
        const char* start_path = folder == AT_FDCWD ? NULL : watched_descriptor(folder);
        if (start_path == NULL) return false; /* nothing here is reached from the current folder */
        length = snprintf(absolute, CALL_PATH_BYTES, "%s/%s", start_path, path);
    }
    return length < CALL_PATH_BYTES && is_below_root(absolute);
}

void note_descriptor(int descriptor, const char* path) {
    if (control == NULL || descriptor < 0 || descriptor >= MOST_DESCRIPTORS) return;
    const char* name = path == NULL ? NULL : strdup(path);
    pthread_mutex_lock(&names_turn);
    names[descriptor] = name;
    pthread_mutex_unlock(&names_turn);
}

static void tell(const char* path) {
    control->has_happened = 1;
    snprintf(control->happened_path, CALL_PATH_BYTES, "%s", path);
}

static int number_call(enum call_kind kind, const char* path) {
    if (control == NULL || control->is_armed == 0) return 0;
    const uint64_t number = __atomic_add_fetch(&control->calls, 1, __ATOMIC_SEQ_CST);
    if (number < CALL_TRACE_LENGTH) control->trace[number] = (uint8_t)kind;
    if (number != control->fail_at_call) return 0;
    tell(path);
    return control->fail_error;
}

static bool is_last_change(void) {
    if (control == NULL || control->is_armed == 0) return false;
    return __atomic_add_fetch(&control->changes, 1, __ATOMIC_SEQ_CST) == control->kill_at_change;
}

static void die(const char* path) {
    tell(path);
    kill(getpid(), SIGKILL);
    for (;;) pause(); /* the signal is on its way */
}

int begin_look(enum call_kind kind, const char* path) {
    return number_call(kind, path);
}

int begin_change(enum call_kind kind, const char* path) {
    pthread_mutex_lock(&change_turn);
    if (is_last_change()) die(path);
    return number_call(kind, path);
}

int begin_write(const char* path, void (*half)(void*), void* context) {
    pthread_mutex_lock(&change_turn);
    if (is_last_change()) {
        if (control->kill_in_half != 0) half(context);
        die(path);
    }
    return number_call(CALL_WRITE, path);
}

void end_change(void) {
    const int before = errno;
    pthread_mutex_unlock(&change_turn);
    errno = before;
}

static void append(enum call_kind kind,
                   uint64_t inode,
                   off_t offset,
                   const char* path,
                   const char* other,
                   const void* bytes,
                   size_t count) {
    const int before = errno;
    const struct journal_head head = {.kind = (uint32_t)kind,
                                      .path_bytes = (uint32_t)strlen(path),
                                      .other_bytes = other == NULL ? 0 : (uint32_t)strlen(other),
                                      .inode = inode,
                                      .offset = (uint64_t)offset,
                                      .data_bytes = count};
    const struct iovec parts[] = {
        {(void*)(uintptr_t)&head, sizeof head},
        {(void*)(uintptr_t)path, head.path_bytes},
        {(void*)(uintptr_t)(other == NULL ? "" : other), head.other_bytes},
        {(void*)(uintptr_t)bytes, count}};
    const size_t length = sizeof head + head.path_bytes + head.other_bytes + count;
    if (writev(journal, parts, 4) != (ssize_t)length) abort();
    errno = before;
}

/* By a call that is not watched itself. */
static uint64_t inode_of(int descriptor, const char* path) {
    struct statx status = {0};
    const int before = errno;
    const int flags = path == NULL ? AT_EMPTY_PATH : AT_SYMLINK_NOFOLLOW;
    if (statx(descriptor, path == NULL ? "" : path, flags, STATX_INO, &status) != 0) abort();
    errno = before;
    return status.stx_ino;
}

void note_entry_change(enum call_kind kind, const char* path, const char* other) {
    if (journal < 0) return;
    const bool is_there = kind != CALL_UNLINK;
    const uint64_t inode = is_there ? inode_of(AT_FDCWD, other == NULL ? path : other) : 0;
    append(kind, inode, 0, path, other, "", 0);
}

void note_file_change(enum call_kind kind,
                      int descriptor,
                      const char* path,
                      off_t offset,
                      const void* bytes,
                      size_t count) {
    if (journal < 0) return;
    append(kind, inode_of(descriptor, NULL), offset, path, NULL, bytes, count);
}
