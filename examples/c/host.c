/* A whole host in one file: the files of a folder are its library, which it keeps together with the
 * shared copy.
 *
 *     cc host.c $(pkg-config --cflags --libs glib-2.0) -Iinclude -Lbuild/release/lib -lkelto
 *     ./a.out samples/library
 *
 * A second argument is the title that it gives to the file Orbits.gif. docs/hosting-c.md walks
 * through it.
 */
#include <glib.h>
#include <glib/gstdio.h>
#include <kelto_apple.h>
#include <stdio.h>
#include <string.h>

/* This host's own copy: every record as it was last received or edited. A group for each record,
 * named by its identifier; a key for each member, whose value is the member's JSON as it is. So the
 * fingerprints are kept in the same file, and change in the same moment, as the thing itself. */
typedef struct {
    GKeyFile* records;
    char* records_path;
    char* store_path;
    char* directory; /* The exchange folder. */
    char* outgoing;  /* In there: copies of files that the library has not got yet. */
    GMainLoop* loop;
    char* answer;
} Host;

/* A key of a group that is no member: this record has to be sent. */
static const char changed[] = "changed";
static const char* const payloads[] = {"data", "thumbnail", "icon"};

/* JSON. Every text that is written goes through json_text, so nothing breaks out of its quotes. The
 * reading is enough for the library's answers, which are compact and well formed; of another text
 * it notices only that it was cut off, and goes never beyond its end. Take a JSON library in a host
 * of your own. */

static char* json_text(const char* text) {
    GString* json = g_string_new("\"");
    for (const char* at = text; *at != '\0'; ++at) {
        if ((unsigned char)*at < 0x20) {
            g_string_append_printf(json, "\\u%04x", (unsigned)*at);
        } else {
            if (*at == '"' || *at == '\\') g_string_append_c(json, '\\');
            g_string_append_c(json, *at);
        }
    }
    g_string_append_c(json, '"');
    return g_string_free(json, FALSE);
}

/* Replaces the comma behind the last member or element. */
static void close_with(GString* json, char bracket) {
    if (json->str[json->len - 1] == ',') g_string_truncate(json, json->len - 1);
    g_string_append_c(json, bracket);
}

static const char* after_text(const char* at) {
    for (++at; *at != '\0' && *at != '"'; ++at) {
        if (*at == '\\' && at[1] != '\0') ++at;
    }
    return *at == '"' ? at + 1 : at;
}

/* Behind the closing bracket, and then `depth` is 0; or at the end of a text that was cut off. */
static const char* after_brackets(const char* at, int* depth) {
    *depth = 0;
    do {
        if (*at == '"') {
            at = after_text(at);
            continue;
        }
        if (*at == '{' || *at == '[') ++*depth;
        if (*at == '}' || *at == ']') --*depth;
        ++at;
    } while (*depth > 0 && *at != '\0');
    return at;
}

static const char* after_value(const char* at) {
    int depth = 0;
    if (*at == '"') return after_text(at);
    if (*at != '{' && *at != '[') return at + strcspn(at, ",]}");
    return after_brackets(at, &depth);
}

/* Steps to the next member of an object, from its bracket or from behind a value: answers its name,
 * a JSON text, and its value in `value`; NULL behind the last one. */
static const char* next_member(const char* at, const char** value) {
    if ((*at != '{' && *at != ',') || at[1] != '"') return NULL;
    *value = after_text(at + 1);
    return *(*value)++ == ':' ? at + 1 : NULL;
}

/* The value of a member of an object, or NULL. */
static const char* member(const char* object, const char* key) {
    const size_t length = strlen(key);
    const char* value = NULL;
    for (const char* name = next_member(object, &value); name != NULL;
         name = next_member(after_value(value), &value)) {
        if (strncmp(name + 1, key, length) == 0 && name[length + 1] == '"') return value;
    }
    return NULL;
}

/* Steps to the next object of a list, from its bracket or from behind an object, or to NULL. */
static const char* next_object(const char* at) {
    return (*at == '[' || *at == ',') && at[1] == '{' ? at + 1 : NULL;
}

/* A text, decoded, to be freed; NULL when the value is none. */
static char* text_of(const char* value) {
    if (value == NULL || *value != '"') return NULL;
    GString* text = g_string_new(NULL);
    const char* end = after_text(value) - 1;
    for (const char* at = value + 1; at < end; ++at) {
        if (*at != '\\') {
            g_string_append_c(text, *at);
        } else if (*++at == 'u' && end - at > 4) {
            /* The library escapes control characters only: four digits are one character. */
            const char digits[5] = {at[1], at[2], at[3], at[4], '\0'};
            g_string_append_unichar(text, (gunichar)g_ascii_strtoull(digits, NULL, 16));
            at += 4;
        } else {
            const char* letter = strchr("b\bf\fn\nr\rt\t", *at);
            g_string_append_c(text, letter != NULL ? letter[1] : *at);
        }
    }
    return g_string_free(text, FALSE);
}

/* A list of nothing but objects that say which record they are. */
static int are_records(const char* list) {
    if (*list != '[') return FALSE;
    const char* end = list + 1;
    for (const char* at = next_object(list); at != NULL; at = next_object(end)) {
        const char* uuid = member(at, "uuid");
        if (uuid == NULL || *uuid != '"') return FALSE;
        end = after_value(at);
    }
    return *end == ']';
}

static int is_snapshot(const char* answer) {
    int depth = 0;
    const char* records = member(answer, "records");
    const char* version = member(answer, "version");
    return *answer == '{' && *after_brackets(answer, &depth) == '\0' && depth == 0 &&
           member(answer, "error") == NULL && records != NULL && are_records(records) &&
           version != NULL && g_ascii_strtoll(version, NULL, 10) == 1;
}

/* The host's own library. */

static char* kept(const Host* host, const char* uuid, const char* key) {
    return g_key_file_get_value(host->records, uuid, key, NULL);
}

static char* kept_text(const Host* host, const char* uuid, const char* key) {
    g_autofree char* value = kept(host, uuid, key);
    return text_of(value);
}

static void keep_text(Host* host, const char* uuid, const char* key, const char* text) {
    g_autofree char* value = json_text(text);
    g_key_file_set_value(host->records, uuid, key, value);
}

static void mark_changed(Host* host, const char* uuid) {
    g_key_file_set_value(host->records, uuid, changed, "yes");
}

static int save(const Host* host) {
    if (g_key_file_save_to_file(host->records, host->records_path, NULL)) return TRUE;
    fprintf(stderr, "The file “%s” couldn’t be saved. Make room for it.\n", host->records_path);
    return FALSE;
}

/* A host draws a random UUID for a new thing, and keeps it. This one takes the path's digest, so
 * that the hosts of this folder in other languages mean the same things. */
static char* identifier(const char* path) {
    g_autofree char* hex = g_compute_checksum_for_string(G_CHECKSUM_MD5, path, -1);
    return g_strdup_printf("%.8s-%.4s-%.4s-%.4s-%.12s", hex, hex + 8, hex + 12, hex + 16, hex + 20);
}

static const char* kind_of(const char* name) {
    static const char* const images[] = {".png", ".jpg", ".gif", ".webp", ".svg"};
    for (size_t i = 0; i < G_N_ELEMENTS(images); ++i) {
        if (g_str_has_suffix(name, images[i])) return "image";
    }
    if (g_str_has_suffix(name, ".mp4") || g_str_has_suffix(name, ".webm")) return "video";
    if (strstr(name, ".note.") != NULL) return "note";
    return strstr(name, ".quote.") != NULL ? "quote" : "document";
}

static void add_project(Host* host, const char* folder) {
    g_autofree char* uuid = identifier(".");
    g_autofree char* path = g_canonicalize_filename(folder, NULL);
    g_autofree char* name = g_path_get_basename(path);
    if (g_key_file_has_group(host->records, uuid)) return;
    keep_text(host, uuid, "recordType", "Project");
    keep_text(host, uuid, "uuid", uuid);
    keep_text(host, uuid, "name", name);
    g_key_file_set_int64(host->records, uuid, "createdAt", 1760000000000);
    mark_changed(host, uuid);
}

static void add_file(Host* host, const char* file, const char* uuid) {
    g_autofree char* bytes = NULL;
    gsize size = 0;
    GStatBuf status;
    if (g_stat(file, &status) != 0 || !g_file_get_contents(file, &bytes, &size, NULL)) return;
    /* Payload files must lie inside the exchange folder: a copy, whole before it is named. */
    g_autofree char* copy = g_build_filename(host->outgoing, uuid, NULL);
    if (!g_file_set_contents(copy, bytes, (gssize)size, NULL)) return;
    g_autofree char* project = identifier(".");
    g_autofree char* name = g_path_get_basename(file);
    g_autofree char* title = g_strdup(name);
    if (strrchr(title, '.') != NULL) *strrchr(title, '.') = '\0';
    keep_text(host, uuid, "recordType", "Thing");
    keep_text(host, uuid, "uuid", uuid);
    keep_text(host, uuid, "kind", kind_of(name));
    keep_text(host, uuid, "title", title);
    keep_text(host, uuid, "fileName", name);
    keep_text(host, uuid, "project", project);
    keep_text(host, uuid, "data", copy);
    g_key_file_set_uint64(host->records, uuid, "fileSize", size);
    g_key_file_set_int64(host->records, uuid, "createdAt", (gint64)status.st_mtime * 1000);
    g_key_file_set_int64(host->records, uuid, "updatedAt", (gint64)status.st_mtime * 1000);
    mark_changed(host, uuid);
}

typedef struct {
    int files;
    int fresh; /* This host did not know them yet. */
} Found;

/* Takes in what lies in `folder`, whose path inside the library's folder is `place`. */
static int add_folder(Host* host, const char* folder, const char* place, Found* found) {
    g_autoptr(GDir) entries = g_dir_open(folder, 0, NULL);
    if (entries == NULL) return FALSE;
    const char* name;
    while ((name = g_dir_read_name(entries)) != NULL) {
        g_autofree char* path = g_build_filename(folder, name, NULL);
        g_autofree char* inside =
            *place == '\0' ? g_strdup(name) : g_strconcat(place, "/", name, NULL);
        g_autofree char* uuid = identifier(inside);
        if (g_file_test(path, G_FILE_TEST_IS_DIR)) {
            add_folder(host, path, inside, found);
        } else if (*name != '.') {
            ++found->files;
            if (g_key_file_has_group(host->records, uuid)) continue;
            ++found->fresh;
            add_file(host, path, uuid);
        }
    }
    return TRUE;
}

/* updatedAt has to grow with each edit, even if the clock was set back. */
static void edit_title(Host* host, const char* uuid, const char* title) {
    const gint64 before = g_key_file_get_int64(host->records, uuid, "updatedAt", NULL);
    const gint64 now = g_get_real_time() / 1000;
    keep_text(host, uuid, "title", title);
    g_key_file_set_int64(host->records, uuid, "updatedAt", MAX(now, before + 1));
    mark_changed(host, uuid);
}

/* The exchange. */

static void append_record(const Host* host, GString* json, const char* uuid) {
    g_auto(GStrv) keys = g_key_file_get_keys(host->records, uuid, NULL, NULL);
    g_string_append_c(json, '{');
    for (char** key = keys; *key != NULL; ++key) {
        if (strcmp(*key, changed) == 0) continue;
        g_autofree char* value = kept(host, uuid, *key);
        g_string_append_printf(json, "\"%s\":%s,", *key, value);
        /* What this host's version was made from: so the library notices edits on two sides. */
        if (strcmp(*key, "fileFingerprint") != 0) continue;
        g_string_append_printf(json, "\"baseFileFingerprint\":%s,", value);
    }
    close_with(json, '}');
    g_string_append_c(json, ',');
}

static int has_files(const Host* host, const char* uuid) {
    for (size_t i = 0; i < G_N_ELEMENTS(payloads); ++i) {
        g_autofree char* path = kept_text(host, uuid, payloads[i]);
        if (path != NULL && !g_file_test(path, G_FILE_TEST_EXISTS)) return FALSE;
    }
    return TRUE;
}

static char* request_with(const Host* host, const char* records, const char* known) {
    g_autofree char* store = json_text(host->store_path);
    g_autofree char* directory = json_text(host->directory);
    return g_strdup_printf(
        "{\"version\":1,\"storePath\":%s,\"directory\":%s,\"records\":%s,\"knownFingerprints\":%s}",
        store,
        directory,
        records,
        known);
}

/* What has changed here, and what of the library's this host holds already. */
static char* request_for(const Host* host, int* sent) {
    g_autoptr(GString) records = g_string_new("[");
    g_autoptr(GString) known = g_string_new("{");
    g_auto(GStrv) uuids = g_key_file_get_groups(host->records, NULL);
    for (char** uuid = uuids; *uuid != NULL; ++uuid) {
        if (g_key_file_has_key(host->records, *uuid, changed, NULL)) {
            append_record(host, records, *uuid);
            ++*sent;
        }
        g_autofree char* fingerprint = kept(host, *uuid, "fingerprint");
        if (fingerprint != NULL && has_files(host, *uuid)) {
            g_string_append_printf(known, "\"Thing:%s\":%s,", *uuid, fingerprint);
        }
    }
    close_with(records, ']');
    close_with(known, '}');
    return request_with(host, records->str, known->str);
}

/* Called on this thread, out of the main loop. The response is only lent: keep a copy. */
static void take_answer(intptr_t context, const char* response) {
    Host* host = (Host*)context;
    host->answer = g_strdup(response);
    g_main_loop_quit(host->loop);
}

/* The library's answer, to be freed; NULL when it refused, after its sentence on `complaints`. A
 * program with windows would return to its own main loop here and go on in the callback; it would
 * then leave alone, when it takes over the answer, what was edited meanwhile. */
static char* exchange(Host* host, const char* request, FILE* complaints) {
    kelto_apple_exchange(request, (intptr_t)host, take_answer); /* It has copied the request. */
    g_main_loop_run(host->loop);
    g_autofree char* answer = g_steal_pointer(&host->answer);
    g_autofree char* error = text_of(member(answer, "error"));
    if (!g_utf8_validate(answer, -1, NULL) || (error == NULL && !is_snapshot(answer))) {
        fprintf(stderr,
                "The library’s answer couldn’t be understood. "
                "Use a host and a library of the same version.\n");
        return NULL;
    }
    if (error == NULL) return g_steal_pointer(&answer);
    fprintf(complaints, "%s%s\n", complaints == stdout ? "  not synced: " : "", error);
    return NULL;
}

typedef struct {
    int things;
    int files;
    guint64 bytes;
    char* title; /* Of the last one. */
} News;

static void count_news(const Host* host, const char* uuid, News* news) {
    ++news->things;
    g_free(news->title);
    news->title = kept_text(host, uuid, "title");
    for (size_t i = 0; i < G_N_ELEMENTS(payloads); ++i) {
        g_autofree char* path = kept_text(host, uuid, payloads[i]);
        GStatBuf status;
        if (path == NULL || g_stat(path, &status) != 0) continue;
        ++news->files;
        news->bytes += (guint64)status.st_size;
    }
}

/* Makes one record of the answer this host's own. A thing whose fingerprint is the one that is kept
 * is old news. */
static void take_over(Host* host, const char* record, const char* uuid, News* news) {
    g_autofree char* before = kept_text(host, uuid, "fingerprint");
    g_autofree char* fingerprint = text_of(member(record, "fingerprint"));
    const char* value = NULL;
    g_key_file_remove_group(host->records, uuid, NULL);
    for (const char* name = next_member(record, &value); name != NULL;
         name = next_member(after_value(value), &value)) {
        g_autofree char* key = text_of(name);
        g_autofree char* json = g_strndup(value, (gsize)(after_value(value) - value));
        g_key_file_set_value(host->records, uuid, key, json);
    }
    if (fingerprint != NULL && g_strcmp0(before, fingerprint) != 0) count_news(host, uuid, news);
}

/* What this host knows and the answer does not hold was deleted by another host. */
static void forget_all_but(Host* host, GHashTable* answered) {
    g_auto(GStrv) uuids = g_key_file_get_groups(host->records, NULL);
    for (char** uuid = uuids; *uuid != NULL; ++uuid) {
        g_autofree char* copy = g_build_filename(host->outgoing, *uuid, NULL);
        g_unlink(copy); /* The library has got it, and gave it back in `received`. */
        if (g_hash_table_contains(answered, *uuid)) continue;
        g_key_file_remove_group(host->records, *uuid, NULL);
    }
}

static int synchronise(Host* host, const char* heading) {
    int sent = 0;
    News news = {0};
    g_autofree char* request = request_for(host, &sent);
    g_autofree char* answer = exchange(host, request, stderr);
    if (answer == NULL) return FALSE;
    g_autoptr(GHashTable) answered = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, NULL);
    for (const char* at = next_object(member(answer, "records")); at != NULL;
         at = next_object(after_value(at))) {
        char* uuid = text_of(member(at, "uuid"));
        if (uuid == NULL) continue;
        take_over(host, at, uuid, &news);
        g_hash_table_add(answered, uuid);
    }
    forget_all_but(host, answered);
    printf("%s\n  records sent: %d; news: %d, with files: %d, of %" G_GUINT64_FORMAT " bytes\n",
           heading,
           sent,
           news.things,
           news.files,
           news.bytes);
    if (news.things == 1) printf("  “%s”\n", news.title);
    g_free(news.title);
    return save(host);
}

static int edit_orbits(Host* host, const char* title) {
    g_auto(GStrv) uuids = g_key_file_get_groups(host->records, NULL);
    for (char** uuid = uuids; *uuid != NULL; ++uuid) {
        g_autofree char* name = kept_text(host, *uuid, "fileName");
        if (g_strcmp0(name, "Orbits.gif") != 0) continue;
        edit_title(host, *uuid, title);
        return save(host) && synchronise(host, "a title edited");
    }
    return TRUE;
}

static void make_a_mistake(Host* host) {
    g_autofree char* request =
        request_with(host, "[{\"recordType\":\"Tag\",\"uuid\":\"not-a-uuid\"}]", "{}");
    printf("a mistake\n");
    g_free(exchange(host, request, stdout));
}

static int story(Host* host, const char* folder, const char* title) {
    Found found = {0};
    add_project(host, folder);
    if (!add_folder(host, folder, "", &found)) {
        fprintf(stderr,
                "The folder “%s” couldn’t be read. "
                "Name one that holds files, samples/library for example.\n",
                folder);
        return FALSE;
    }
    printf("files in the folder: %d, new ones: %d\n", found.files, found.fresh);
    if (!save(host)) return FALSE;
    if (!synchronise(host, "both sides brought together")) return FALSE;
    if (!synchronise(host, "once more")) return FALSE;
    if (!edit_orbits(host, title)) return FALSE;
    make_a_mistake(host);
    return TRUE;
}

/* Where everything lies; FALSE, after a sentence, when the library may not be used. */
static int open_host(Host* host) {
    if (!kelto_apple_cloud_available()) {
        fprintf(stderr,
                "The synced library is switched off. Unset KELTO_DISABLE_CLOUDKIT and "
                "KELTO_CLOUDKIT_ENABLED, or take a build that has the entitlements.\n");
        return FALSE;
    }
    char* group = kelto_apple_group_path();
    if (group == NULL) {
        fprintf(stderr,
                "There is no folder for the synced library. "
                "Set HOME to the path of your home folder.\n");
        return FALSE;
    }
    host->store_path = g_build_filename(group, "Library", "Kelto.store", NULL);
    kelto_apple_free(group);

    g_autofree char* home = g_build_filename(g_get_user_data_dir(), "kelto-example-c", NULL);
    host->directory = g_build_filename(home, "Exchange", NULL);
    host->outgoing = g_build_filename(host->directory, "outgoing", NULL);
    host->records_path = g_build_filename(home, "library.ini", NULL);
    host->records = g_key_file_new();
    g_key_file_load_from_file(host->records, host->records_path, G_KEY_FILE_NONE, NULL);
    host->loop = g_main_loop_new(NULL, FALSE);
    if (g_mkdir_with_parents(host->outgoing, 0700) == 0) return TRUE;
    fprintf(stderr, "The folder “%s” couldn’t be made. Make room for it.\n", host->outgoing);
    return FALSE;
}

static void close_host(Host* host) {
    g_clear_pointer(&host->loop, g_main_loop_unref);
    g_clear_pointer(&host->records, g_key_file_unref);
    g_free(host->records_path);
    g_free(host->outgoing);
    g_free(host->directory);
    g_free(host->store_path);
}

int main(int count, char** arguments) {
    Host host = {0};
    const char* folder = count > 1 ? arguments[1] : "samples/library";
    const char* title = count > 2 ? arguments[2] : "Orbits, edited";
    const int ended_well = open_host(&host) && story(&host, folder, title);
    close_host(&host);
    return ended_well ? 0 : 1;
}
