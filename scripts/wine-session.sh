#!/usr/bin/env -S -u WINEPREFIX LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/wine-session.sh [OPTION...] COMMAND [ARGUMENT...]
# Runs any command of this machine with a Wine prefix to itself and gives its exit status. The prefix comes out
# of a pool of at most one a core (a further session waits), starts from the same hives and files each time, and
# stays as the command leaves it until the command has ended. Then all that it started is ended too.
#   --empty-classes    the prefix has no registered class (nothing below HKLM\Software\Classes)
#   --share FOLDER     FOLDER is seen as \\server\share
#   --no-display       windows can not be opened, even if the caller has a display
#   --requests         C:\windows\keyreap-requests.log tells what the programs ask of Wine's server, as far as a
#                      trace needs it; the server stays until the end of the session
#   --checked-heaps    a program that looks through its heaps (HeapValidate) sees what was written just past memory
#   --ready            the caller has seen to the set-up
#   --silent           what the command writes to its standard streams goes nowhere
#   --then N WORD...   the command of N words, with the status as one more, takes this script's place when the session
#                      has ended
#
# The first line takes away the caller's WINEPREFIX: a process that has one from its start belongs to that prefix.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"

classes=all share='' requests=no heaps=usual ready=no output=shown
afterwards=()
while (($# > 0)); do
    case $1 in
    --empty-classes) classes=none ;;
    --share) share=${2:?--share needs a folder} && shift ;;
    --no-display) unset DISPLAY ;;
    --requests) requests=yes ;;
    --checked-heaps) heaps=checked ;;
    --ready) ready=yes ;;
    --silent) output=none ;;
    --then)
        afterwards=("${@:3:$2}")
        shift $(($2 + 1))
        ;;
    --) shift && break ;;
    --*) fail "wine-session.sh: unknown option $1" ;;
    *) break ;;
    esac
    shift
done
(($# > 0)) || fail "wine-session.sh: no command"
[[ $ready == yes ]] || set_up wine

check_pool
allow_open_files
take_prefix
stay_on_one_core
start_keeper
for signal in INT TERM HUP QUIT; do
    # shellcheck disable=SC2064 # the name is meant now
    trap "end_on_signal $signal" "$signal"
done
end_prefix "$PREFIX"
renew_prefix "$classes" "$share"
[[ $heaps == usual ]] || check_heaps
start_server "$requests"
status=0
if [[ $output == shown ]]; then
    run_in_session "$@" || status=$?
else
    run_in_session "$@" >/dev/null 2>&1 || status=$?
fi
end_session
((${#afterwards[@]} == 0)) || exec "${afterwards[@]}" "$status"
exit "$status"
