/* A whole host in one file: it keeps two notes and an exchange folder of its own, sends them to the
 * library, takes the merged snapshot from the main loop, and remembers what the next exchange
 * needs.
 *
 *     cc host.c -Iinclude $(pkg-config --cflags --libs glib-2.0) -Lbuild/release/lib -lkelto
 *
 * docs/hosting.md walks through it.
 */
#include <glib.h>
#include <glib/gstdio.h>
#include <stdio.h>
#include <string.h>

#include "kelto_apple.h"

/* What this host calls its own copy of the library: a real one would keep it in its database. */
typedef struct {
    const char* uuid;
    const char* title;
    const char* file_name;
    const char* data; /* Path of the note's file inside the exchange folder, or NULL. */
    gint64 updated_at;
} Note;

typedef struct {
    GMainLoop* loop;
    char* store_path;
    char* directory;  /* The exchange folder. */
    GKeyFile* memory; /* For each thing: "fingerprint" and "fileFingerprint", as last received. */
    char* memory_path;
    char* answer;
} Host;

static gint64 now_in_milliseconds(void) {
    return g_get_real_time() / 1000;
}

/* Writing JSON: every text goes through append_text, so nothing can break out of its quotes. */

static void append_text(GString* json, const char* text) {
    g_string_append_c(json, '"');
    for (const char* at = text; *at != '\0'; ++at) {
        if (*at == '"' || *at == '\\') {
            g_string_append_printf(json, "\\%c", *at);
        } else if ((unsigned char)*at < 0x20) {
            g_string_append_printf(json, "\\u%04x", (unsigned)*at);
        } else {
            g_string_append_c(json, *at);
        }
    }
    g_string_append_c(json, '"');
}

static void append_member(GString* json, const char* key, const char* text) {
    append_text(json, key);
    g_string_append_c(json, ':');
    append_text(json, text);
    g_string_append_c(json, ',');
}

static void append_time(GString* json, const char* key, gint64 milliseconds) {
    append_text(json, key);
    g_string_append_printf(json, ":%" G_GINT64_FORMAT ",", milliseconds);
}

/* Replaces the comma behind the last member. */
static void close_with(GString* json, char bracket) {
    if (json->str[json->len - 1] == ',') g_string_truncate(json, json->len - 1);
    g_string_append_c(json, bracket);
}

/* Reading JSON. Enough for the library's answers, which are compact and well formed; it checks
 * nothing, so do not use it on a text of any other origin: take a JSON library in a real host. */

static const char* after_text(const char* at) {
    for (++at; *at != '\0' && *at != '"'; ++at) {
        if (*at == '\\' && at[1] != '\0') ++at;
    }
    return *at == '"' ? at + 1 : at;
}

static const char* after_value(const char* at) {
    if (*at == '"') return after_text(at);
    if (*at != '{' && *at != '[') return at + strcspn(at, ",]}");
    int depth = 0;
    do {
        if (*at == '"') {
            at = after_text(at);
            continue;
        }
        if (*at == '{' || *at == '[') ++depth;
        if (*at == '}' || *at == ']') --depth;
        ++at;
    } while (depth > 0 && *at != '\0');
    return at;
}

/* The value of a member of the object at `object`, or NULL. */
static const char* member(const char* object, const char* key) {
    const size_t length = strlen(key);
    const char* at = object + 1;
    while (*at == '"') {
        const char* name = at + 1;
        at = after_text(at) + 1; /* and the colon */
        if (strncmp(name, key, length) == 0 && name[length] == '"') return at;
        at = after_value(at);
        if (*at == ',') ++at;
    }
    return NULL;
}

static const char* first_element(const char* array) {
    return array[1] == ']' ? NULL : array + 1;
}

static const char* next_element(const char* element) {
    const char* at = after_value(element);
    return *at == ',' ? at + 1 : NULL;
}

/* The text of a member, decoded, to be freed; NULL when there is no such text. */
static char* member_text(const char* object, const char* key) {
    const char* at = member(object, key);
    if (at == NULL || *at != '"') return NULL;
    GString* text = g_string_new(NULL);
    for (++at; *at != '\0' && *at != '"'; ++at) {
        if (*at != '\\') {
            g_string_append_c(text, *at);
        } else if (*++at == 'u') {
            /* The library escapes control characters only: four digits are one character. */
            char digits[5] = {0};
            memcpy(digits, at + 1, 4);
            g_string_append_unichar(text, (gunichar)g_ascii_strtoull(digits, NULL, 16));
            at += 4;
        } else {
            const char* letter = strchr("b\bf\fn\nr\rt\t", *at);
            g_string_append_c(text, letter != NULL ? letter[1] : *at);
        }
    }
    return g_string_free(text, FALSE);
}

static void append_note(const Host* host, GString* json, const Note* note) {
    g_string_append_c(json, '{');
    append_member(json, "recordType", "Thing");
    append_member(json, "uuid", note->uuid);
    append_member(json, "kind", "note");
    append_member(json, "title", note->title);
    append_member(json, "fileName", note->file_name);
    if (note->data != NULL) append_member(json, "data", note->data);
    append_time(json, "createdAt", 1700000000000);
    append_time(json, "updatedAt", note->updated_at);
    char* base = g_key_file_get_string(host->memory, note->uuid, "fileFingerprint", NULL);
    if (base != NULL) append_member(json, "baseFileFingerprint", base);
    g_free(base);
    close_with(json, '}');
    g_string_append_c(json, ',');
}

/* The fingerprints of all things whose files this host already has. */
static void append_known_fingerprints(const Host* host, GString* json) {
    g_string_append_c(json, '{');
    char** uuids = g_key_file_get_groups(host->memory, NULL);
    for (char** uuid = uuids; *uuid != NULL; ++uuid) {
        char* key = g_strconcat("Thing:", *uuid, NULL);
        char* fingerprint = g_key_file_get_string(host->memory, *uuid, "fingerprint", NULL);
        append_member(json, key, fingerprint);
        g_free(fingerprint);
        g_free(key);
    }
    g_strfreev(uuids);
    close_with(json, '}');
}

static char* request_for(const Host* host, const Note* notes, size_t count) {
    GString* json = g_string_new("{\"version\":1,");
    append_member(json, "storePath", host->store_path);
    append_member(json, "directory", host->directory);
    g_string_append(json, "\"records\":[");
    for (size_t i = 0; i < count; ++i) append_note(host, json, &notes[i]);
    close_with(json, ']');
    g_string_append(json, ",\"knownFingerprints\":");
    append_known_fingerprints(host, json);
    g_string_append_c(json, '}');
    return g_string_free(json, FALSE);
}

/* Called on this thread, out of the main loop. The response is only lent: keep a copy. */
static void take_answer(intptr_t context, const char* response) {
    Host* host = (Host*)context;
    host->answer = g_strdup(response);
    g_main_loop_quit(host->loop);
}

/* A program with windows would return to its own main loop here and go on in the callback. */
static char* exchange(Host* host, const Note* notes, size_t count) {
    char* request = request_for(host, notes, count);
    kelto_apple_exchange(request, (intptr_t)host, take_answer);
    g_free(request); /* The library has copied it. */
    g_main_loop_run(host->loop);
    return g_steal_pointer(&host->answer);
}

/* A record that came back. One with the fingerprint that is remembered is old news. */
static int is_news(Host* host, const char* record) {
    char* uuid = member_text(record, "uuid");
    char* fingerprint = member_text(record, "fingerprint");
    char* file_fingerprint = member_text(record, "fileFingerprint");
    char* known = g_key_file_get_string(host->memory, uuid, "fingerprint", NULL);
    const int news = g_strcmp0(known, fingerprint) != 0;
    if (news) {
        g_key_file_set_string(host->memory, uuid, "fingerprint", fingerprint);
        g_key_file_set_string(host->memory, uuid, "fileFingerprint", file_fingerprint);
    }
    g_free(known);
    g_free(file_fingerprint);
    g_free(fingerprint);
    g_free(uuid);
    return news;
}

static void show_thing(const char* record) {
    char* title = member_text(record, "title");
    char* path = member_text(record, "data");
    char* bytes = NULL;
    gsize size = 0;
    printf("  changed: %s\n", title);
    if (path != NULL && g_file_get_contents(path, &bytes, &size, NULL)) {
        printf("  its file: %" G_GSIZE_FORMAT " bytes in received\n", size);
    }
    g_free(bytes);
    g_free(path);
    g_free(title);
}

/* Takes over what is new in the answer, and remembers it beyond this run. */
static void merge_answer(Host* host, const char* heading, char* answer) {
    printf("%s\n", heading);
    char* error = member_text(answer, "error");
    if (error != NULL) {
        printf("  not synced: %s\n", error);
    } else {
        int changed = 0;
        const char* records = member(answer, "records");
        for (const char* at = first_element(records); at != NULL; at = next_element(at)) {
            char* type = member_text(at, "recordType");
            if (strcmp(type, "Thing") == 0 && is_news(host, at)) {
                show_thing(at);
                ++changed;
            }
            g_free(type);
        }
        char* status = member_text(answer, "status");
        printf("  %d changed; %s\n", changed, status);
        g_free(status);
        g_key_file_save_to_file(host->memory, host->memory_path, NULL);
    }
    g_free(error);
    g_free(answer);
}

static int open_host(Host* host) {
    char* group = kelto_apple_group_path();
    if (group == NULL) return 0;
    host->store_path = g_build_filename(group, "Library", "Kelto.store", NULL);
    kelto_apple_free(group);

    char* home = g_build_filename(g_get_user_data_dir(), "kelto-example-host", NULL);
    host->directory = g_build_filename(home, "Exchange", NULL);
    host->memory_path = g_build_filename(home, "fingerprints.ini", NULL);
    g_free(home);
    host->memory = g_key_file_new();
    g_key_file_load_from_file(host->memory, host->memory_path, G_KEY_FILE_NONE, NULL);
    host->loop = g_main_loop_new(NULL, FALSE);
    return g_mkdir_with_parents(host->directory, 0700) == 0;
}

static void close_host(Host* host) {
    g_main_loop_unref(host->loop);
    g_key_file_unref(host->memory);
    g_free(host->memory_path);
    g_free(host->directory);
    g_free(host->store_path);
}

int main(void) {
    Host host = {0};
    if (!kelto_apple_cloud_available() || !open_host(&host)) {
        fprintf(stderr, "This build may not use the synced library.\n");
        return 1;
    }
    char* list = g_build_filename(host.directory, "list.txt", NULL);
    g_file_set_contents(list, "milk\nbread\n", -1, NULL);

    Note notes[] = {
        {"5f8c1d2e-0b3a-4c57-9a41-6d2f7e90b001", "Shopping", "list.txt", list, 0},
        {"5f8c1d2e-0b3a-4c57-9a41-6d2f7e90b002", "Remember", "", NULL, 0},
    };
    notes[0].updated_at = notes[1].updated_at = now_in_milliseconds();
    merge_answer(&host, "two notes and a file", exchange(&host, notes, 2));
    merge_answer(&host, "the same once more", exchange(&host, notes, 2));

    notes[1].title = "Remember the milk";
    notes[1].updated_at += 1;
    merge_answer(&host, "one title edited", exchange(&host, notes, 2));

    notes[1].uuid = "not-a-uuid";
    merge_answer(&host, "a mistake", exchange(&host, notes, 2));

    g_free(list);
    close_host(&host);
    return 0;
}
