#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: session-keeper.sh PREFIX [discard]   (started by session.sh, with the session's pipe as its input)
# Waits until nobody holds the session's pipe any more, then ends every process of PREFIX, and with `discard` removes
# what the session left there. It has the lock of the prefix as descriptor 9, so that nobody takes the prefix before
# that is done. The pipe has records, each a word and a text, both ended by a NUL:
#   requests         start a server with its request log on; the log's filter ends with that server
#   box, open        the session's processes are in a box from now on, or no longer
#   created PATH     at the end, remove this file if it is empty
#   mode MODE PATH   at the end, give this file its mode again
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/wine.sh
source "$ROOT/scripts/wine.sh"
# shellcheck source=scripts/requests.sh
source "$ROOT/scripts/requests.sh"
# shellcheck source=scripts/boxend.sh
source "$ROOT/scripts/boxend.sh"
# shellcheck source=scripts/isolation.sh
source "$ROOT/scripts/isolation.sh"
# shellcheck source=scripts/startup.sh
source "$ROOT/scripts/startup.sh"
# shellcheck source=scripts/host.sh
source "$ROOT/scripts/host.sh"

cd /
trap '' INT TERM HUP QUIT
created=() boxed=no
declare -A modes=()
while IFS= read -r -d '' word && IFS= read -r -d '' text; do
    case $word in
    requests) start_logging_server "$1" ;;
    box) boxed=yes ;;
    open) boxed=no ;;
    created) created+=("$text") ;;
    mode) modes["${text#* }"]=${text%% *} ;;
    esac
done
if [[ $boxed == yes ]]; then end_box "$1"; else end_prefix "$1"; fi
wait
for path in "${created[@]}"; do
    [[ -s $path ]] || rm -f "$path"
done
if ((${#modes[@]} > 0)); then
    while IFS= read -r -d '' text; do
        path=${text#* }
        [[ ${text%% *} == "${modes[$path]}" ]] || chmod "${modes[$path]}" "$path"
    done < <(stat -L --printf '%a %n\0' -- "${!modes[@]}" 2>/dev/null)
fi
[[ ${2-} != discard ]] || discard_session "$1"
