#!/usr/bin/env -S -u WINEPREFIX LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/wine-session.sh [OPTION...] COMMAND [ARGUMENT...]
# Runs any command of this machine with a Wine prefix of its own and returns its exit status. The prefix comes out
# of a pool of at most one a core (a further session waits), has the same hives and files at each start, and
# is the session's alone: no other session sees what it writes there. When the command has ended, all that it started
# is ended too, and the prefix is cleared.
#   --empty-classes    the prefix has no registered class (nothing below HKLM\Software\Classes)
#   --share FOLDER     FOLDER appears as \\server\share
#   --user NAME        the user has this name, and a profile folder of this name
#   --computer NAME    the computer has this name; the session fails where the system refuses that
#   --no-display       windows can not be opened, even if the caller has a display
#   --requests         C:\windows\keyreap-requests.log records what the programs request of Wine's server, as far as
#                      a trace needs it; the server runs until the end of the session
#   --report-mixed-keys
#                      with --requests: when all has ended, a line on standard error names the keys that Wine mixed up
#                      (scripts/mixedkeys.sh), if there are any
#   --host SWITCHES    with --requests: how strict the session's logger is, in the form of KEYREAP_HOST
#                      (scripts/host.sh), which it replaces
#   --observed         a crash of the command is recorded (the program observer)
#   --box              the command and all that it starts are kept apart from the machine (box.sh), where that is possible. It
#                      sees the prefix and what the next options name; it is a program, not a script
#   --input FILE       the box sees this file and its folder
#   --output FILE      the box can change this file
#   --see FOLDER       the box sees this folder
#   --write FOLDER     the box can change this folder
#   --scripts          the box also has what scripts of the project need, a shell among it
#   --env NAME         the caller's variable is passed into the box
#   --display          the box has the caller's display
#   --checked-heaps    HeapValidate in a program finds writes just past the end of a block
#   --all-services     Wine starts all the services that it starts itself, and not only those that captures need
#   --ready            the caller has done the set-up
#   --silent           what the command writes to its standard streams is discarded
#   --quiet            what it writes to its standard error is discarded
#   --then N WORD...   when the session has ended, this script executes the command of N words, with the status as one
#                      more. KEYREAP_CRASH says what crashed (--observed), KEYREAP_MIXED_KEYS is what
#                      --report-mixed-keys would print, and KEYREAP_UNPLACED says why the log can't be
#                      relied on (--requests), and KEYREAP_CEILING why the box was ended (--box)
#
# The first line removes the caller's WINEPREFIX: a process that has one from its start belongs to that prefix.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/wine.sh
source "$ROOT/scripts/wine.sh"
# shellcheck source=scripts/isolation.sh
source "$ROOT/scripts/isolation.sh"
# shellcheck source=scripts/startup.sh
source "$ROOT/scripts/startup.sh"
# shellcheck source=scripts/host.sh
source "$ROOT/scripts/host.sh"
# shellcheck source=scripts/identity.sh
source "$ROOT/scripts/identity.sh"

# shellcheck source=scripts/boxend.sh
source "$ROOT/scripts/boxend.sh"
# shellcheck source=scripts/box.sh
source "$ROOT/scripts/box.sh"

given=("$@") INSIDE=no
[[ ${1-} != --inside ]] || { INSIDE=yes && shift; }
classes=all share='' requests=no mixed=quiet heaps=usual services=needed ready=no output=shown
observed=no afterwards=() user=$WINE_USER computer='' boxed=no PLACES=() outputs=()
while (($# > 0)); do
    case $1 in
    --empty-classes) classes=none ;;
    --share) share=${2:?--share needs a folder} && shift ;;
    --user) user=${2:?--user needs a name} && shift ;;
    --computer) computer=${2:?--computer needs a name} && shift ;;
    --no-display) unset DISPLAY WAYLAND_DISPLAY ;;
    --requests) requests=yes ;;
    --host) KEYREAP_HOST=${2?--host needs switches} && shift ;;
    --report-mixed-keys) mixed=reported ;;
    --checked-heaps) heaps=checked ;;
    --box) [[ $SANDBOX == off ]] || boxed=yes ;;
    --input | --see | --write | --env)
        PLACES+=("$1" "${2:?$1 needs a word}")
        shift
        ;;
    --output)
        PLACES+=("$1" "${2:?--output needs a file}")
        outputs+=("$2")
        shift
        ;;
    --scripts)
        for folder in "${SCRIPT_FOLDERS[@]}"; do PLACES+=(--see "$folder"); done
        ;;
    --display) PLACES+=("$1") ;;
    --all-services) services=all ;;
    --ready) ready=yes ;;
    --observed) observed=yes ;;
    --silent) output=none ;;
    --quiet) output=plain ;;
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
[[ -z $share ]] || PLACES+=(--write "$share")
host_switches "${KEYREAP_HOST-}" >/dev/null
check_user "$user"
[[ -z $computer ]] || check_computer "$computer"
check_sandbox
[[ $boxed == no ]] || take_callers_places
if [[ $INSIDE == no ]]; then
    [[ $ready == yes ]] || (source "$ROOT/scripts/setup.sh" && set_up wine)
    [[ -z $computer ]] || enter_computer "$computer" /bin/bash "$ROOT/scripts/wine-session.sh" "${given[@]}"
    # Starts this script again in the namespace, or returns if there is none.
    enter_namespace /bin/bash "$ROOT/scripts/wine-session.sh" --inside "${given[@]}"
fi

# shellcheck source=scripts/requests.sh
source "$ROOT/scripts/requests.sh"
# shellcheck source=scripts/session.sh
source "$ROOT/scripts/session.sh"
# shellcheck source=scripts/notes.sh
source "$ROOT/scripts/notes.sh"
# shellcheck source=scripts/mixedkeys.sh
source "$ROOT/scripts/mixedkeys.sh"
# shellcheck source=scripts/unplaced.sh
source "$ROOT/scripts/unplaced.sh"

# run_command COMMAND...: starts the session's server and runs the command, in the box if there is to be one.
run_command() {
    local status=0
    if [[ $boxed == yes ]]; then
        run_in_box "$@" || status=$?
        box_missing || return "$status"
    fi
    [[ $observed == no ]] || set -- "$OBSERVER" "$PREFIX/$CRASH_NOTE" "$@"
    start_server "$requests"
    with_output run_in_session "$@"
}

# with_output COMMAND...: the command's output is shown or not, as the caller wants it.
with_output() {
    case $output in
    shown) "$@" ;;
    plain) "$@" 2>/dev/null ;;
    none) "$@" </dev/null >/dev/null 2>&1 ;;
    esac
}

check_pool
allow_open_files
take_prefix
stay_on_one_core
hold_base
start_keeper discard
for signal in INT TERM HUP QUIT; do
    # shellcheck disable=SC2064 # the name is meant now
    trap "end_on_signal $signal" "$signal"
done
# What a session left whose keeper was killed, too.
is_empty "$PREFIX" || end_prefix "$PREFIX"
PREFIX_SIZE=
# shellcheck disable=SC2034 # isolation.sh reads it
if [[ $boxed == yes ]] && prefix_on_tmpfs; then take_ceilings && PREFIX_SIZE=$DISK_CEILING; fi
prepare renew_prefix "$classes" "$share"
prepare be_user "$user"
WINE_USER=$user
exec 6<&-
[[ $heaps == usual ]] || check_heaps
[[ $services == needed ]] || start_all_services
open_notes "$PREFIX"
[[ $boxed == no ]] || make_outputs "${outputs[@]}"
status=0
run_command "$@" || status=$?
end_session
take_notes
mixed_text=$(mixed_keys_text) unplaced=
[[ $requests == no ]] || unplaced=$(unplaced_text)
passed=$(passed_ceiling)
if ((${#afterwards[@]} > 0)); then
    export KEYREAP_CEILING=$passed KEYREAP_CRASH=$CRASH KEYREAP_MIXED_KEYS=$mixed_text KEYREAP_UNPLACED=$unplaced
    exec "${afterwards[@]}" "$status"
fi
[[ -z $passed ]] || fail "$passed"
[[ $mixed == quiet || -z $mixed_text ]] || say "$mixed_text"
exit "$status"
