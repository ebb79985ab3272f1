#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: session-keeper.sh PREFIX [discard]   (started by session.sh, with the session's pipe as its input)
# Waits until nobody holds the session's pipe any more, then ends every process of PREFIX, and with `discard` removes
# what the session left there. It has the lock of the prefix as descriptor 9, so that nobody takes the prefix before
# that is done. At the word `requests` in the pipe it starts a server with its request log on; the log's filter ends
# with that server. `created` and a path name a file that it removes at the end if it is empty. `boxed`
# means that all processes of the session have ended with their box.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
# shellcheck source=scripts/wine.sh
source "$ROOT/scripts/wine.sh"
# shellcheck source=scripts/requests.sh
source "$ROOT/scripts/requests.sh"
# shellcheck source=scripts/isolation.sh
source "$ROOT/scripts/isolation.sh"
# shellcheck source=scripts/startup.sh
source "$ROOT/scripts/startup.sh"
# shellcheck source=scripts/host.sh
source "$ROOT/scripts/host.sh"

cd /
trap '' INT TERM HUP QUIT
created=() boxed=no
while IFS=' ' read -r word path; do
    case $word in
    requests) start_logging_server "$1" ;;
    created) created+=("$path") ;;
    boxed) boxed=yes ;;
    esac
done
[[ $boxed == yes ]] || end_prefix "$1"
wait
for path in "${created[@]}"; do
    [[ -s $path ]] || rm -f "$path"
done
[[ ${2-} != discard ]] || discard_session "$1"
