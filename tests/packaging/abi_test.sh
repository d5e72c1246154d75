#!/usr/bin/env bash
# abi_test.sh LIBRARY: what the exported functions take and give is what packaging/abi says, and a
# change of it would be noticed. `abi_test.sh --update` writes down what the header says now.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
readonly root library=$1 kept=$root/packaging/abi/libkelto.so.1.abi headers=$root/include
die() { printf 'abi_test: %s\n' "$*" >&2; exit 1; }
if [[ $(uname -m) != x86_64 ]]; then
    echo "abi_test: skipped, the description was made on x86_64"
    exit 77
fi
# What abidiff calls harmless is not: a “const” that comes or goes is another promise to the host.
compared() { abidiff --harmless --headers-dir2 "$headers" --no-show-locs "$kept" "$1"; }
if [[ $library != --update ]]; then
    readelf -S "$library" | grep '\.debug_info' >/dev/null ||
        die "$library has no debug information, so nothing can be compared"
    compared "$library" ||
        die "the functions have changed: old hosts would break. If that is meant, the SONAME has to
change too (kelto/AppleBridge/CMakeLists.txt); then $0 --update"
fi

work=$(mktemp -d)
# shellcheck disable=SC2064  # now: the variable is gone when the trap runs
trap "rm -rf '$work'" EXIT

# A library with the header's functions and nothing behind them. The change is sed's.
hollow() { # NAME CHANGE
    mkdir "$work/$1"
    sed -E "$2" "$headers/kelto_apple.h" >"$work/$1/kelto_apple.h"
    sed -E "$2" >"$work/$1/hollow.c" <<'C'
#include "kelto_apple.h"
char* kelto_apple_group_path(void) { return 0; }
void kelto_apple_free(void* pointer) { (void)pointer; }
int32_t kelto_apple_cloud_available(void) { return 0; }
void kelto_apple_exchange(const char* request,
                                       intptr_t context,
                                       kelto_apple_callback callback) {
    (void)request; (void)context; (void)callback;
}
C
    if [[ $1 != unchanged ]] && cmp -s "$headers/kelto_apple.h" "$work/$1/kelto_apple.h"; then
        die "the change “$1” changes nothing in the header"
    fi
    (cd "$work/$1" && cc -g -shared -fPIC -w -fvisibility=hidden -Wl,-soname,libkelto.so.1 \
        hollow.c -o libkelto.so) || die "the hollow functions are not those of the header"
}
# The description is that of the header, read as C: of the library's own, which is C++, abidw would
# write down half of the standard library as well.
hollow unchanged ''
if [[ $library == --update ]]; then
    abidw --headers-dir "$work/unchanged" --drop-private-types --type-id-style hash \
        --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed \
        --no-write-default-sizes "$work/unchanged/libkelto.so" >"$kept"
    exit
fi

compared "$work/unchanged/libkelto.so" || die "the header says something else than the library"

noticed=0
while IFS='|' read -r name change; do
    hollow "$name" "$change"
    compared "$work/$name/libkelto.so" >"$work/report" && code=0 || code=$?
    # The bit that stands for a change; others stand for abidiff having failed itself.
    ((code & 4)) || die "“$name” was not noticed"
    noticed=$((noticed + 1))
done <<'CHANGES'
wider-answer|s/int32_t kelto_apple_cloud_available/int64_t kelto_apple_cloud_available/
unsigned-answer|s/int32_t kelto_apple_cloud_available/uint32_t kelto_apple_cloud_available/
narrower-context|s/^( *)intptr_t context,$/\1int32_t context,/
context-as-pointer|s/^( *)intptr_t context,$/\1void* context,/
request-to-be-changed|s/const char\* request/char* request/
path-that-may-not-be-freed|s/char\* kelto_apple_group_path/const char* kelto_apple_group_path/
one-more-parameter|s/kelto_apple_callback callback\)/kelto_apple_callback callback, int flags)/
parameters-swapped|s/^( *)intptr_t context,$/\1kelto_apple_callback callback,/;s/^( *)kelto_apple_callback callback\)/\1intptr_t context)/
callback-with-length|s/\(intptr_t context, const char\* response\)/(intptr_t context, const char* response, long bytes)/
callback-that-answers|s/typedef void \(\*kelto_apple_callback\)/typedef int (*kelto_apple_callback)/
callback-context-unsigned|s/\(intptr_t context, const char/(uintptr_t context, const char/
function-renamed|s/kelto_apple_free/kelto_apple_release/
function-added|s/^KELTO_EXPORT void kelto_apple_free.*/&\nKELTO_EXPORT void kelto_apple_more(void);/;s/^void kelto_apple_free.*/&\nvoid kelto_apple_more(void) {}/
CHANGES
echo "abi_test: nothing has changed; $noticed changes would be noticed"
