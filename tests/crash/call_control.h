/* What a crash test and the watched program tell each other: a file that both have mapped. The
   program is any host of the library; watched_calls.c is loaded into it in front of the C library,
   numbers the calls that it makes below one folder, and does to one of them what the test wants. */
#pragma once

#include <stdint.h>

/* The environment variable that names the file. */
#define CALL_CONTROL_VARIABLE "KELTO_CRASH_CONTROL"

enum { CALL_PATH_BYTES = 1024, CALL_TRACE_LENGTH = 65536 };

/* Stands in place of an errno: the call does half of its work and says so, as any read or write
   may. */
#define CALL_FAULT_SHORT (-1)

enum call_kind {
    CALL_NONE,
    /* Those that change something. */
    CALL_CREATE,
    CALL_WRITE,
    CALL_TRUNCATE,
    CALL_FLUSH,
    CALL_FLUSH_FOLDER,
    CALL_RENAME,
    CALL_UNLINK,
    CALL_MAKE_FOLDER,
    CALL_COPY_RANGE,
    CALL_MODE,
    CALL_LAST_CHANGE = CALL_MODE,
    /* Those that only look. */
    CALL_OPEN,
    CALL_OPEN_FOLDER,
    CALL_READ,
    CALL_STATUS,
    CALL_LIST,
    CALL_MAP,
    CALL_LOCK,
    CALL_KINDS
};

struct call_control {
    /* Set by the test before the program starts. */
    char root[CALL_PATH_BYTES];    /* calls below this folder are watched */
    char journal[CALL_PATH_BYTES]; /* where all changes are written down; empty: nowhere */

    /* Set by the test while the program waits for work. */
    volatile uint32_t is_armed;       /* only then calls are numbered */
    volatile uint64_t kill_at_change; /* the process dies before this change; 0: at none */
    volatile uint32_t kill_in_half;   /* a write is done by half before */
    volatile uint64_t fail_at_call;   /* this call fails; 0: none */
    volatile int32_t fail_error;      /* with this errno, or CALL_FAULT_SHORT */

    /* Told by the program. Numbers begin at 1 with each arming. */
    volatile uint64_t calls;
    volatile uint64_t changes;
    volatile uint32_t has_happened;
    char happened_path[CALL_PATH_BYTES];
    volatile uint8_t trace[CALL_TRACE_LENGTH]; /* the kind of each numbered call */
};

/* One entry of the journal: this head, the path, the second path (renames), the bytes written. */
struct journal_head {
    uint32_t kind; /* of enum call_kind, changes only */
    uint32_t path_bytes;
    uint32_t other_bytes; /* of the second path */
    uint32_t unused;
    uint64_t inode;  /* of what was created, written, cut or flushed */
    uint64_t offset; /* of a write; the new length of what was cut */
    uint64_t data_bytes;
};
