/* What all functions that stand in front of the C library's have in common. */
#pragma once

#include <dlfcn.h>
#include <errno.h>

#include "watched_calls.h"

#define EXPORTED __attribute__((visibility("default")))
/* `real` becomes the C library's function of this name. The extension keeps the compiler quiet
   about a pointer to data that becomes one to a function, which POSIX promises to work. */
#define REAL(name)                 \
    static __typeof__(&name) real; \
    if (real == NULL) real = __extension__(__typeof__(&name)) dlsym(RTLD_NEXT, #name)

static inline int failed(int error) {
    errno = error;
    return -1;
}

static inline size_t half_of(size_t count) {
    return count > 1 ? count / 2 : count;
}
