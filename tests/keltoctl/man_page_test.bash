#!/usr/bin/env bash
# man_page_test.bash KELTOCTL PAGE: the page of the manual is read without a warning, and tells every
# command and option that --help tells. 77: there is nothing to read it with.
set -uo pipefail
keltoctl=$1
page=$2
failures=0

fail() { printf 'man page: %s\n' "$*" >&2; failures=$((failures + 1)); }

command -v groff >/dev/null && command -v mandoc >/dev/null || exit 77
warnings=$(groff -man -Tutf8 -Kutf8 -ww -z "$page" 2>&1)
[[ -z $warnings ]] || fail "groff warns: $warnings"
# Neither an author nor a day stands in the page: the same source makes the same page.
warnings=$(mandoc -Tlint -Wwarning "$page" 2>&1 | grep -v 'missing date')
[[ -z $warnings ]] || fail "mandoc warns: $warnings"

# As one line without the breaks and hyphens of a layout.
text=$(mandoc -Tascii -O width=500 "$page" | sed "s/.\x08//g")
commands=$("$keltoctl" --help | sed -n '/^Subcommands:/,$p' | sed -n 's/^  \([a-z-]\+\) .*/\1/p')
[[ $(wc -w <<<"$commands") -gt 15 ]] || fail "--help tells no commands any more"
for command in $commands; do
    grep -qE "^ +$command( |$)" <<<"$text" || fail "the command $command is missing"
    for option in $("$keltoctl" "$command" --help | grep -oE '^  .*--[a-z-]+' | grep -oE -- '--[a-z-]+'); do
        grep -qF -- "$option" <<<"$text" || fail "the option $option of $command is missing"
    done
done
((failures == 0))
