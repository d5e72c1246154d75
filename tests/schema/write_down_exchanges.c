/* Loaded into a host before libkelto.so (LD_PRELOAD): adds each exchange, as one line of JSON, to
 * the file that KELTO_EXCHANGES names, and leaves it as it was otherwise. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kelto_apple.h"

typedef void (*Exchange)(const char* request, intptr_t context, kelto_apple_callback callback);

typedef struct {
    char* request;
    intptr_t context;
    kelto_apple_callback callback;
} Watched;

static void end(const char* what) {
    perror(what);
    abort();
}

static void take_answer(intptr_t context, const char* response) {
    Watched* watched = (Watched*)context;
    FILE* file = fopen(getenv("KELTO_EXCHANGES"), "ae");
    if (file == NULL) end("the file of KELTO_EXCHANGES");
    fprintf(file, "{\"request\":%s,\"response\":%s}\n", watched->request, response);
    if (fclose(file) != 0) end("the file of KELTO_EXCHANGES");
    watched->callback(watched->context, response);
    free(watched->request);
    free(watched);
}

void kelto_apple_exchange(const char* request, intptr_t context, kelto_apple_callback callback) {
    /* The extension keeps the compiler quiet about a pointer to data that becomes one to a
     * function, which POSIX promises to work. */
    const Exchange real = __extension__(Exchange) dlsym(RTLD_NEXT, "kelto_apple_exchange");
    Watched* watched = malloc(sizeof *watched);
    if (real == NULL || watched == NULL) end("kelto_apple_exchange");
    *watched = (Watched){strdup(request), context, callback};
    if (watched->request == NULL) end("kelto_apple_exchange");
    real(request, (intptr_t)watched, take_answer);
}
