# shellcheck shell=bash
# The box of a session: its programs see of this machine what they need and nothing else, reach nobody, and use no more than
# the ceilings allow (docs/security.md). Sourced after common.sh, wine.sh, session.sh and notes.sh. KEYREAP_SANDBOX says
# what happens where a box can't be made:
#   (unset)   the session goes on without, and a line says so
#   require   the session is refused
#   off       no box is made anywhere, and nothing is said

SANDBOX=${KEYREAP_SANDBOX-}
SESSION_BOX=$BUILD/tools/sessionbox
OBSERVER=$BUILD/tools/observer
# In megabytes: twice the largest log of a trace.
LARGEST_FILE=4096
BOX='' BOX_PROCESS=''

# The programs themselves: those in /usr/bin are scripts, and a box has no shell.
WINE_PROGRAMS=/usr/lib/wine

# What a script of the project needs in a box, which isn't there for a server.
# shellcheck disable=SC2034 # wine-session.sh names them
SCRIPT_FOLDERS=(/usr /bin /etc/alternatives "$ROOT" "$BUILD/stage" "$BUILD/tools")

# check_sandbox: fails unless the caller's words for the box can be understood.
check_sandbox() {
    [[ $SANDBOX == @(|require|off) ]] || fail "KEYREAP_SANDBOX is '$SANDBOX', and has to be require or off, if it is set"
    local name
    for name in MEMORY DISK PROCESSES; do
        name=KEYREAP_BOX_$name
        [[ -z ${!name-} || ${!name} =~ ^[1-9][0-9]{0,6}$ ]] ||
            fail "$name is '${!name}', and has to be a number from 1 to 9999999"
    done
    ((${KEYREAP_BOX_DISK:-64} >= 64)) || fail "KEYREAP_BOX_DISK is '$KEYREAP_BOX_DISK', and a session needs 64"
}

# check_seen FOLDER: what a box has of its own can't be the machine's.
check_seen() {
    [[ $1 == /* && -d $1 ]] || fail "--see is '$1', and has to be the whole path of a folder"
    case $(realpath -- "$1") in
    / | /tmp | /dev | /dev/* | /proc | /proc/* | /sys | /sys/* | /run)
        fail "--see is '$1', which would let the session reach too much of this machine"
        ;;
    esac
}

# check_passed NAME: the name of a variable.
check_passed() {
    [[ $1 =~ ^[A-Za-z_][A-Za-z0-9_]*$ ]] || fail "--env is '$1', and has to be the name of a variable"
    [[ ! $1 =~ ^(WINE.*|HOME|TMPDIR|LD_.*)$ ]] || fail "--env is '$1', which a session has of its own"
}

# take_callers_places: adds what the caller's variables let every box have: KEYREAP_SEE, folders, and KEYREAP_ENV, names of
# variables, both separated by colons.
take_callers_places() {
    local words word
    IFS=: read -r -d '' -a words < <(printf '%s\0' "${KEYREAP_SEE-}")
    for word in "${words[@]}"; do
        check_seen "$word"
        PLACES+=(--see "$word")
    done
    IFS=: read -ra words <<<"${KEYREAP_ENV-}"
    for word in "${words[@]}"; do
        check_passed "$word"
        PLACES+=(--env "$word")
    done
}

# take_ceilings: fills MEMORY_CEILING and DISK_CEILING, in megabytes, with what the caller says, or 4 GB, or half of the
# machine's memory where that is less.
take_ceilings() {
    local kilobytes usual
    read -r _ kilobytes _ </proc/meminfo
    usual=$((kilobytes / 2048 < 4096 ? kilobytes / 2048 : 4096))
    MEMORY_CEILING=${KEYREAP_BOX_MEMORY:-$usual} DISK_CEILING=${KEYREAP_BOX_DISK:-$usual}
}

# prefix_on_tmpfs: whether the files of a session can be in memory, which ends with the session and has a size. Before
# Linux 6.6 such files have no attributes of users, without which an ordinary user's drive C: can't be made of layers.
prefix_on_tmpfs() {
    local users major minor
    read -r _ _ users </proc/self/uid_map
    ((users != 4294967295)) || return 0
    IFS=.- read -r major minor _ < <(uname -r)
    ((major > 6 || (major == 6 && minor >= 6)))
}

# check_inputs FILE...: root has no rights over the files of other users in a box.
check_inputs() {
    local file
    ((EUID == 0)) && [[ $SANDBOX != off ]] || return 0
    for file in "$@"; do
        [[ ! -f $file || -O $file ]] || without_rights test -r "$file" ||
            fail "$file: it belongs to another user, and root can't read it where a server is kept apart; see docs/security.md"
    done
}

# without_rights COMMAND...: as root without the rights that the modes of files don't give.
without_rights() {
    setpriv --bounding-set=-all --inh-caps=-all "$@"
}

# tell_keeper WORD TEXT: a record of session-keeper.sh.
tell_keeper() {
    printf '%s\0%s\0' "$1" "$2" >&8
}

# make_outputs FILE...: files that a box can change have to be there. The keeper removes those that stay empty, and gives the
# others their modes again, which a server can change. A file that only root's rights open for writing has a stand-in in the
# box, which take_outputs copies.
make_outputs() {
    local file
    STAND_INS=()
    for file in "$@"; do
        if [[ ! -e $file ]]; then
            { : >"$file"; } 2>/dev/null || continue
            tell_keeper created "$(realpath -m -- "$file")"
        elif ((EUID == 0)) && [[ -f $file && ! -O $file ]] && ! without_rights test -w "$file"; then
            cp "$file" "$(stand_in "${#STAND_INS[@]}")"
            touch -d @0 "$(stand_in "${#STAND_INS[@]}")"
            PLACES+=(--place "$(stand_in "${#STAND_INS[@]}")" "$file")
            STAND_INS+=("$file")
        fi
    done
    (($# == 0)) || stat -L --printf 'mode\0%a %n\0' -- "$@" 2>/dev/null >&8 || true
}

# stand_in NUMBER
stand_in() {
    printf '%s/output%s' "$PREFIX/$NOTES" "$1"
}

# take_outputs: copies the stand-ins that were written to, which have another time, to their files.
take_outputs() {
    local number
    for number in "${!STAND_INS[@]}"; do
        [[ -z $(cd / && find "$(stand_in "$number")" -newermt @1) ]] || cat "$(stand_in "$number")" >"${STAND_INS[number]}"
    done
}

# box_words REQUESTS: prints the words of sessionbox for this session, each ended by a NUL. REQUESTS is `yes` with a request
# log. PLACES are the words for what the session sees.
box_words() {
    local assignment disk
    take_ceilings
    disk=$DISK_CEILING
    printf '%s\0' --report "$PREFIX/$BOX_NOTE" --prefix "$PREFIX" --hide "$PREFIX/$NOTES" \
        --server "${KEYREAP_WINESERVER:-$WINE_PROGRAMS/wineserver64}" --see "$WINE_MODULES" --see "$BUILD/tools" \
        --memory $((MEMORY_CEILING << 20)) \
        --file-size $((disk < LARGEST_FILE ? disk << 20 : LARGEST_FILE << 20)) --temporary $((disk << 18)) --threads "${KEYREAP_BOX_PROCESSES:-2000}"
    ((${#PLACES[@]} == 0)) || printf '%s\0' "${PLACES[@]}"
    # A test's own server is a script, and needs programs.
    [[ -z ${KEYREAP_WINESERVER-} ]] ||
        printf '%s\0' --see /usr --see /bin --see /etc/alternatives --see "${KEYREAP_WINESERVER%/*}"
    [[ $1 != yes ]] || printf '%s\0' --log "$REQUEST_FILTER" "$PREFIX/$REQUEST_LOG" "$PREFIX/$MIXED_KEYS_NOTE" \
        "$PREFIX/$UNPLACED_LINES_NOTE"
    while IFS= read -r assignment; do printf '%s\0' --set "$assignment"; done < <(wine_environment "$PREFIX")
    printf '%s\0' --set "WINELOADER=$WINE_PROGRAMS/wine64" --set "WINESERVER=$WINE_PROGRAMS/wineserver64" \
        --set "PATH=$STANDARD_PATH"
}

# run_in_box COMMAND...: returns COMMAND's status when all that it started has ended; fills BOX with what became of the box
# (tools/box/outside.h). COMMAND doesn't run if there is no box. The script's `observed`, `requests` and `output` say how.
# shellcheck disable=SC2154 # they are there
run_in_box() {
    local words status=0
    mapfile -d '' -t words < <(box_words "$requests")
    [[ $1 != @(wine|"$WINE") ]] || set -- "$WINE_PROGRAMS/wine64" "${@:2}"
    [[ $observed == no ]] || set -- "$OBSERVER" "$PREFIX/$CRASH_NOTE" "$@"
    : >"$PREFIX/$BOX_NOTE"
    tell_keeper box ''
    with_output start_box "${words[@]}" -- "$@" || status=$?
    BOX=$(<"$PREFIX/$BOX_NOTE") BOX_PROCESS=
    case $BOX in
    ended | ceiling\ *) take_outputs ;;
    unavailable\ *) tell_keeper open '' ;;
    refused\ *) fail_boxed "this run can't be kept apart from the machine (${BOX#refused })" ;;
    server) fail_boxed "Wine's server did not come up" ;;
    *) fail_boxed "the program that keeps this run apart from the machine was ended" ;;
    esac
    return "$status"
}

# fail_boxed TEXT
fail_boxed() {
    end_session
    fail "$1"
}

# start_box WORD...: the keeper waits for the box, which has the keeper's pipe until its end.
start_box() {
    "${RIGHTLESS[@]}" "$SESSION_BOX" "$@" <&0 3>&- 4>&- 5>&- 7>&- 9>&- &
    BOX_PROCESS=$!
    { wait "$BOX_PROCESS"; } 2>/dev/null
}

# box_missing: whether the last box couldn't be made. Says why, or fails where a box is required.
box_missing() {
    [[ $BOX == unavailable\ * ]] || return
    local text="this run can't be kept apart from the machine (${BOX#unavailable })"
    [[ $SANDBOX != require ]] || fail_boxed "$text, and KEYREAP_SANDBOX asks for that; see docs/security.md"
    say "$text; see docs/security.md"
}

# passed_ceiling: prints why the box was ended, or nothing.
passed_ceiling() {
    [[ $BOX != ceiling\ * ]] || printf 'it was ended, since it used %s (docs/security.md)' "${BOX#ceiling }"
}
