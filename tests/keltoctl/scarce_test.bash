#!/usr/bin/env bash
# scarce_test.bash KELTOCTL: what keltoctl does where something that every program takes for granted is
# missing: an input, an output, room on the disk, files that may be open. Parts that need a file system
# of their own are left out where none may be mounted.
set -uo pipefail
export KELTOCTL=$1 LC_ALL=C.UTF-8
export FOLDER
FOLDER=$(mktemp -d)
trap 'rm -rf "$FOLDER"' EXIT
export XDG_DATA_HOME=$FOLDER/data XDG_STATE_HOME=$FOLDER/state
cd "$FOLDER" || exit 1
failures=0

fail() { printf 'scarce: %s\n' "$*" >&2; failures=$((failures + 1)); }
ends_with() {
    local status=$1; shift
    "$@"
    local ended=$?
    [[ $ended == "$status" ]] || fail "$* ended with $ended instead of $status"
}
ctl() { "$KELTOCTL" "$@" 2>"$FOLDER/errors"; }
says() { grep -qF -- "$1" "$FOLDER/errors" || fail "it does not say “$1” but: $(cat "$FOLDER/errors")"; }
content() { "$KELTOCTL" show "$1" --json | python3 -c 'import json, sys; print(json.load(sys.stdin)["content"])'; }

"$KELTOCTL" add note precious --title Note >/dev/null || fail "nothing could be added"
note=$("$KELTOCTL" list --json | python3 -c 'import json, sys; print(json.load(sys.stdin)["things"][0]["uuid"])')

# An input that cannot be read is no empty text.
ends_with 1 ctl edit "$note" --content - <&-
says 'cannot read “standard input”'
ends_with 1 ctl edit "$note" --content - <"$FOLDER"
ends_with 1 ctl add note - <"$FOLDER"
ends_with 1 ctl explain - <&-
[[ $(content "$note") == precious ]] || fail "the text was lost: $(content "$note")"
[[ $("$KELTOCTL" status --json | grep '"things"') == *1* ]] || fail "something was added"
printf 'new' | ctl edit "$note" --content - >/dev/null
[[ $(content "$note") == new ]] || fail "the text was not taken"

# An output that is closed or full is told, and no file takes its number.
for output in "list" "list --json" "--help" "--version" "tree" "--generate man"; do
    # shellcheck disable=SC2086
    ends_with 1 ctl $output >&-
    says 'cannot write to standard output'
    # shellcheck disable=SC2086
    ends_with 1 ctl $output >/dev/full
    says 'cannot write to standard output'
done
ends_with 1 ctl page "$FOLDER/closed.html" >&-
tail -n 1 "$FOLDER/closed.html" | grep -q '</html>' || fail "the page was spoilt by what was printed"
"$KELTOCTL" edit "$note" --title "Nobody listens" <&- >&- 2>&-
ends_with 0 ctl doctor >/dev/null

# More projects within each other than files may be open: what is not written is named.
python3 - "$("$KELTOCTL" group-path)/Library/Kelto.store" "$FOLDER/x" >request.json <<'PYTHON'
import json, sys
def identifier(number): return f"{number:08x}-6d1e-4b3f-8a27-1c5e9d40b6a1"
records = [{"recordType": "Project", "uuid": identifier(number), "name": str(number), "createdAt": 1,
            **({"parent": identifier(number - 1)} if number > 1 else {})} for number in range(1, 61)]
records.append({"recordType": "Thing", "uuid": identifier(99), "kind": "note", "title": "Bottom",
                "content": "x", "project": identifier(60), "createdAt": 1, "updatedAt": 1})
json.dump({"version": 1, "storePath": sys.argv[1], "directory": sys.argv[2], "records": records}, sys.stdout)
PYTHON
ends_with 0 ctl exchange request.json >/dev/null
(ulimit -n 40; "$KELTOCTL" export "$FOLDER/few" >/dev/null 2>"$FOLDER/errors"; [[ $? == 1 ]]) ||
    fail "an export that misses things is called done"
says 'Too many open files'
ends_with 0 ctl export "$FOLDER/all" >/dev/null
[[ $(find "$FOLDER/all" -name 'Bottom.note.md' | wc -l) == 1 ]] || fail "the lowest thing is missing"

# A full disk.
full() (
    # shellcheck disable=SC2329
    trap - EXIT
    mount -t tmpfs -o size=64k tmpfs small || exit 77
    head -c 40k /dev/zero >small/filling
    python3 -c 'print("x" * 60000)' >long.txt
    head -c 60k /dev/urandom >image.png
    XDG_STATE_HOME=$FOLDER/other "$KELTOCTL" add file image.png >/dev/null
    ends_with 1 ctl page small/library.html
    says 'cannot write “small/library.html”: No space left on device; free some space, or leave pictures out'
    ends_with 1 ctl backup small/library.tar
    says 'there isn’t enough space'
    ends_with 1 ctl export small/out >/dev/null
    says 'image.png”: No space left on device.'
    [[ -z $(find small -name '*.png' -o -name '*.html*' -o -name '*.part' -o -name '*.tar*') ]] ||
        fail "half a file is left: $(find small -type f)"
    # The host's own files on a full disk: the library has the note all the same, once.
    rm -rf small/out small/filling
    image=$("$KELTOCTL" list --json --kind image | python3 -c 'import json, sys; print(json.load(sys.stdin)["things"][0]["uuid"])')
    "$KELTOCTL" delete "$image" --yes >/dev/null
    rm "$XDG_STATE_HOME"/keltoctl/*/exchange/received/*
    mkdir small/state
    cp -r "$XDG_STATE_HOME/keltoctl" small/state/ || fail "there is no room to begin with"
    head -c 64k /dev/zero >small/filling 2>/dev/null
    XDG_STATE_HOME=$FOLDER/small/state ends_with 1 ctl --no-refresh add note "$(cat long.txt)" --title Twice
    says 'what was sent is in the library'
    umount small
    [[ $("$KELTOCTL" list --search twice | wc -l) == 1 ]] || fail "the note is not there once"
    exit $((failures > 0))
)
export -f full fail ends_with ctl says
export failures note
mkdir small
unshare --mount --map-root-user true 2>/dev/null && privileges=--map-root-user || privileges=
# shellcheck disable=SC2086
unshare --mount $privileges bash -c full
case $? in
    0) ;;
    77) echo "no file system could be mounted: nothing was tried on a full disk" ;;
    *) failures=$((failures + 1)) ;;
esac
((failures == 0))
