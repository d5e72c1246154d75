/* The inside of the library that is loaded in front of the C library: which calls are numbered,
   what becomes of them, and the journal. */
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

#include "call_control.h"

/* NULL unless the descriptor leads to something below the watched folder. */
const char* watched_descriptor(int descriptor);
/* Whether `path`, from the open folder `folder` on, leads below the watched folder. Then `absolute`
   holds the whole path. */
bool watched_path(int folder, const char* path, char absolute[CALL_PATH_BYTES]);
/* From now on the descriptor stands for that path; a NULL path: for nothing. */
void note_descriptor(int descriptor, const char* path);

/* Begins a numbered call: 0 to go on, an errno to fail with, or CALL_FAULT_SHORT. A change waits
   until no other thread is in one, until end_change(), which keeps errno. */
int begin_look(enum call_kind kind, const char* path);
int begin_change(enum call_kind kind, const char* path);
/* The same for a write of so many bytes to a descriptor: when the process is to die in the middle,
   `half` writes the first half. */
int begin_write(const char* path, void (*half)(void*), void* context);
void end_change(void);

/* Within a change: writes it into the journal if there is one. Keeps errno. `offset` is where the
   bytes went, or the new length of a file that was cut. */
void note_entry_change(enum call_kind kind, const char* path, const char* other);
void note_file_change(enum call_kind kind,
                      int descriptor,
                      const char* path,
                      off_t offset,
                      const void* bytes,
                      size_t count);
