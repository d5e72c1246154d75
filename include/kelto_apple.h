/* The C interface of Kelto's bridge library: four functions.
 *
 * All texts are NUL-terminated UTF-8. What an exchange says and answers is described in
 * docs/exchange-format.md, how a host calls it in docs/hosting.md.
 */
#ifndef KELTO_APPLE_H
#define KELTO_APPLE_H

#include <stdint.h>

#if defined(__GNUC__)
#define KELTO_EXPORT __attribute__((visibility("default")))
#else
#define KELTO_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The absolute path of the application's App Group container, or NULL when this build does not hold
 * the entitlement or the system has no such container. The text belongs to the caller, who releases
 * it with kelto_apple_free. May be called from any thread. */
KELTO_EXPORT char *kelto_apple_group_path(void);

/* Releases a text that kelto_apple_group_path returned. NULL is allowed. Any thread. */
KELTO_EXPORT void kelto_apple_free(void *pointer);

/* 1 when this build, in this process, may use the cloud-mirrored store; 0 otherwise. Whether
 * anybody is signed in does not enter. Any thread. */
KELTO_EXPORT int32_t kelto_apple_cloud_available(void);

/* Receives the answer of one exchange: the context as it was passed in, and the response, which is
 * lent for the duration of the call: copy what is needed, never free it. Called on the host's main
 * thread, never from inside kelto_apple_exchange. It must not throw or unwind. */
typedef void (*kelto_apple_callback)(intptr_t context, const char *response);

/* Runs one exchange. `request` is a JSON text; it is copied before the call returns. The call
 * returns at once; the exchange runs on the host's main thread, out of its main loop (the default
 * main context of GLib), which must be running for the answer to arrive. `callback` is then called
 * exactly once: with the merged snapshot, or, when anything failed, with an object that has an
 * "error" member, one sentence for a person. A request is merged whole or not at all. Answers
 * arrive in the order of completion. May be called from any thread, also from inside a callback.
 */
KELTO_EXPORT void kelto_apple_exchange(const char *request,
                                       intptr_t context,
                                       kelto_apple_callback callback);

#ifdef __cplusplus
}
#endif

#endif
