#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/explain.sh BITNESS MODE SERVER [OPTION...]   (keykit executes it)
# Captures SERVER, a Windows path, in a session of its own and prints what became of each operation on the registry. BITNESS
# is x64 or x86, and the options are those of KeyKitExplain.exe, whose status this script returns: 0, 1 if a key isn't in
# the result, 2 if nothing can be explained. The status is 125 if the set-up failed, or if what Wine's server logs can't be
# relied on.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"
# shellcheck source=scripts/unplaced.sh
source "$ROOT/scripts/unplaced.sh"
# shellcheck source=scripts/paths.sh
source "$ROOT/scripts/paths.sh"

# printable: copies text without control characters, which a server can have written, but with its lines and tabs.
printable() {
    tr -d '\000-\010\013-\037\177'
}

# report OUTPUT STATUS: prints what the session has left, and ends with its status. With any other status than its own
# the program was ended, perhaps while it wrote: a part of a story isn't printed.
report() {
    local end=ended
    [[ ! -s $1 || $2 != [01] ]] || end=whole
    [[ ! -s $1 || $2 != 2 ]] || end=refused
    [[ $end != whole ]] || printable <"$1"
    [[ -z ${KEYREAP_CEILING-} ]] || fail "$KEYREAP_CEILING"
    [[ -z $KEYREAP_UNPLACED ]] || fail "this can't be relied on, since $KEYREAP_UNPLACED; see docs/hosts.md"
    case $end in
    whole) exit "$2" ;;
    refused) say "$(head -c 4096 "$1" | printable)" ;;
    ended) say "the server ended the program that captures it: $(printable <<<"${KEYREAP_CRASH:-status $2}")" ;;
    esac
    exit 2
}

[[ ${1-} != --report ]] || report "$2" "$3"

set_up explain
require_known_host
check_pool
allow_open_files
output=$(mktemp)
trap 'rm -f "$output"' EXIT
status=0
input=$(host_path "$3")
"$ROOT/scripts/wine-session.sh" --ready --no-display --requests --observed --silent \
    --box --see "$STAGE/bin" --see "$STAGE/tools" --output "$output" ${input:+--input "$input"} \
    --then 3 "$ROOT/scripts/explain.sh" --report "$output" \
    "$WINE" "$STAGE/tools/$1/KeyKitExplain.exe" "Z:${output//\//\\}" "${@:2}" || status=$?
exit "$status"
