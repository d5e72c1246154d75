#!/usr/bin/env bash
# completions_test.bash SHARE: asks the completions in the build's share/ what they complete, each in
# its own shell. 77: one of the shells is not there.
set -uo pipefail
share=$1
failures=0
skipped=0

fail() { printf 'completions: %s\n' "$*" >&2; failures=$((failures + 1)); }

# expect "WORDS BEFORE" "WORD" WANTED...: bash completes WORD after those words to just these.
expect() {
    local before=$1 word=$2
    shift 2
    local wanted found
    wanted=$(printf '%s\n' "$@" | sort)
    read -ra COMP_WORDS <<<"keltoctl $before"
    COMP_WORDS+=("$word")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _keltoctl
    found=$(printf '%s\n' "${COMPREPLY[@]}" | sort)
    [[ $found == "$wanted" ]] ||
        fail "bash completes “keltoctl $before $word” to “${found//$'\n'/ }” instead of “${wanted//$'\n'/ }”"
}

source "$share/bash-completion/completions/keltoctl" || fail "bash cannot read its completion"
complete -p keltoctl >/dev/null || fail "bash knows no completion of keltoctl"
expect "" "li" list
expect "" "re" restore restore-backup
expect "--json" "exp" export explain
expect "" "--no-r" --no-refresh
expect "add" "q" quote
expect "add note" "--au"
expect "add quote" "--au" --author
expect "list --kind" "im" image
expect "list" "--st" --starred
expect "--json list" "--tr" --trashed
expect "edit 1234 --no-file" "--ti" --title
expect "doctor" "--re" --repair
expect "list --search" "im"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/a folder"
touch "$folder/a file"
cd "$folder" || exit 1
expect "import" "a" "a folder"
expect "backup" "a" "a file" "a folder"
expect "add file" "a f" "a file" "a folder"

if command -v zsh >/dev/null; then
    zsh -n "$share/zsh/vendor-completions/_keltoctl" || fail "zsh cannot read its completion"
    # The first line tells compinit what the file completes.
    [[ $(head -n 1 "$share/zsh/vendor-completions/_keltoctl") == "#compdef keltoctl" ]] ||
        fail "zsh does not learn what its completion completes"
else
    echo "completions: there is no zsh; its completion was not looked at" >&2
    skipped=1
fi
if command -v fish >/dev/null; then
    fishCompletes() {
        local line=$1 wanted=$2 found
        found=$(HOME=$folder fish --no-config -c \
            "source $share/fish/vendor_completions.d/keltoctl.fish; complete -C '$line'" |
            cut -f 1 | sort | paste -sd' ')
        [[ $found == "$wanted" ]] ||
            fail "fish completes “$line” to “$found” instead of “$wanted”"
    }
    fish --no-execute "$share/fish/vendor_completions.d/keltoctl.fish" ||
        fail "fish cannot read its completion"
    fishCompletes "keltoctl li" "list"
    fishCompletes "keltoctl add q" "quote"
    fishCompletes "keltoctl list --kind im" "image"
    fishCompletes "keltoctl list --star" "--starred"
    fishCompletes "keltoctl tree --star" ""
else
    echo "completions: there is no fish; its completion was not looked at" >&2
    skipped=1
fi

((failures == 0)) || exit 1
((skipped == 0)) || exit 77
