# shellcheck shell=bash
# A session is one use of a Wine prefix out of the pool: the prefix is taken, renewed, used by one command, and cleared.
# Sourced after common.sh, wine.sh, requests.sh, isolation.sh, startup.sh and host.sh.
#
# These file descriptors belong to the session; no process that it starts inherits them, nor those of its notes
# (notes.sh):
#   9   the lock of the prefix; the keeper has it too
#   8   a pipe to the keeper, which ends the session when the last writer is gone, so after a kill -9 as well
#   7   the base that is in use; the keeper has it too

# Tests of the pool use another one.
POOL=${KEYREAP_POOL:-$WINE_HOME/pool}
# One prefix a core, unless the caller names another number.
POOL_SIZE=${KEYREAP_POOL_SIZE-}

# The options of env(1) that pass the caller's variables on to the session's command: all but Wine's, and but TMPDIR.
# Wine's server has its folder in /tmp, and with this variable all programs of Wine 10.0 fail as it is in Debian 13.
INHERITED=(-u TMPDIR)
for name in $(compgen -e WINE); do INHERITED+=(-u "$name"); done

# The session has its own XDG_RUNTIME_DIR, in which this name isn't.
[[ -z ${WAYLAND_DISPLAY-} || $WAYLAND_DISPLAY == /* ]] || export WAYLAND_DISPLAY=${XDG_RUNTIME_DIR-}/$WAYLAND_DISPLAY

# find_steady: fills STEADY with what starts the session's command without address space randomisation, if the system
# allows that. At random addresses the memory of a program sometimes covers a page that Wine needs (0x7FFE0000), and one
# start in some thousands fails.
find_steady() {
    STEADY=()
    ! setarch -R true 2>/dev/null || STEADY=(setarch -R)
}

# check_pool: fails unless the caller can use the prefixes.
check_pool() {
    [[ -z $POOL_SIZE || $POOL_SIZE =~ ^[1-9][0-9]{0,4}$ ]] || fail "KEYREAP_POOL_SIZE is '$POOL_SIZE', and has to be a number from 1 to 99999"
    [[ -d $POOL ]] || mkdir -p "$POOL" 2>/dev/null || true
    [[ -d $POOL && -w $POOL ]] || fail "cannot write to $POOL"
    [[ -w /tmp ]] || fail "cannot write to /tmp, where Wine's server has its folder"
    [[ ! -e $POOL/1 || -O $POOL/1 ]] || fail "the Wine prefixes in $POOL belong to another user"
}

# allow_open_files: Wine's server and its programs share one limit, and end without a message when they reach it.
allow_open_files() {
    local needed=256 usual=4096
    [[ $(ulimit -n) != unlimited ]] && (($(ulimit -n) < usual)) || return 0
    ulimit -n "$usual" 2>/dev/null || ulimit -S -n "$(ulimit -H -n)" 2>/dev/null || true
    (($(ulimit -n) >= needed)) || fail "only $(ulimit -n) files can be open at once (ulimit -n), and a run needs $needed"
}

# take_prefix: waits for a free prefix; PREFIX is its folder and descriptor 9 its lock.
take_prefix() {
    local number
    [[ -n $POOL_SIZE ]] || POOL_SIZE=$(nproc)
    while true; do
        for ((number = 1; number <= POOL_SIZE; number++)); do
            exec 9>"$POOL/$number.lock"
            if flock -n 9; then
                PREFIX=$POOL/$number
                return
            fi
        done
        exec 9>&-
        sleep 0.1
    done
}

# stay_on_one_core: pins this script, and so all that it starts later, to one core. A program and Wine's server wait for
# each other at every request, and wake each other several times as fast on one core. It is the core on which the system
# runs this script now, so that sessions side by side get different ones.
stay_on_one_core() {
    local fields
    # The 39th field is the core; the second is a name in parentheses.
    fields=$(<"/proc/$$/stat")
    read -ra fields <<<"${fields##*) }"
    taskset -cp "${fields[36]}" "$$" >/dev/null 2>&1 || true
}

# start_keeper [discard]: from now on the session is ended properly even if this script is killed. With `discard` the
# prefix is then cleared.
start_keeper() {
    exec 8> >(exec setsid "$ROOT/scripts/session-keeper.sh" "$PREFIX" "$@" 6>&- >/dev/null 2>&1)
    KEEPER=$! KEEPING=${1-}
}

# renew_prefix CLASSES SHARE: replaces all that an earlier run left in the prefix. CLASSES is `all` or `none`; SHARE is
# a folder that appears as \\server\share, or empty.
renew_prefix() {
    clear_prefix "$PREFIX"
    [[ -d $PREFIX ]] || mkdir -p "$PREFIX"
    private_drive
    cp -a "$WINE_BASE/top/." "$PREFIX"
    mkdir -p "$PREFIX/home"
    place_start_recording "$PREFIX"
    place_host_description "$PREFIX"
    [[ $1 != none ]] || cp "$WINE_BASE/classless/system.reg" "$PREFIX/system.reg"
    [[ -z $2 ]] || show_share "$2"
}

show_share() {
    mkdir -p "$PREFIX/dosdevices/unc/server"
    ln -s "$(realpath -- "$1")" "$PREFIX/dosdevices/unc/server/share"
}

# check_heaps: makes programs keep a mark after each block of a heap (0x10). The system reads this value of its hive at
# the start of each program.
check_heaps() {
    set_control 'Control\\Session Manager' '"GlobalFlag"=dword:00000010'
}

# start_all_services: as Wine does it.
start_all_services() {
    local service device key
    for service in "${IDLE_SERVICES[@]}"; do set_control "Services\\\\$service" '"Start"=dword:00000002'; done
    for device in "${IDLE_DEVICES[@]}"; do
        key=Enum\\\\ROOT\\\\WINE\\\\$device
        ! grep -qF "\\\\$key]" "$PREFIX/system.reg" || set_control "$key" "\"Service\"=\"${device,,}\""
    done
}

# set_control KEY VALUE: a value of the prefix in the current control set, as its hive has it; a backslash in KEY is doubled.
set_control() {
    printf '\n[System\\\\%s\\\\%s]\n%s\n' "$(control_set)" "$1" "$2" >>"$PREFIX/system.reg"
}

# control_set: prints the name under which the hive has the current control set. In Wine 8.0 that is its own name; in Wine
# 10.0 it is a link to the first numbered set, and has no keys itself.
control_set() {
    if grep -q '^\[System\\\\CurrentControlSet\\\\.' "$PREFIX/system.reg"; then echo CurrentControlSet; else echo ControlSet001; fi
}

# start_server LOGGING: starts the session's server, with its request log on if LOGGING is `yes`. It has to run before
# the command: two programs that start at once and find no server sometimes start one each, with a registry each.
start_server() {
    if [[ $1 == yes ]]; then
        printf 'requests\0\0' >&8
        await_logging_server "$PREFIX" && return
    else
        start_plain_server && return
    fi
    end_session
    fail "Wine's server did not come up"
}

# start_plain_server: returns when programs can reach the server. It ends a second after the last of them. Programs that
# start later share one server too, since the prefix then has its address.
start_plain_server() {
    local environment
    mapfile -t environment < <(wine_environment "$PREFIX")
    "${RIGHTLESS[@]}" env -i PATH="$STANDARD_PATH" "${environment[@]}" \
        "$WINESERVER" </dev/null >/dev/null 2>&1 3>&- 4>&- 5>&- 7>&- 8>&- 9>&-
}

# run_in_session COMMAND...: returns COMMAND's status. COMMAND runs in the background so that this script handles a
# signal at once; unlike a shell's usual background command it can be interrupted and reads the input.
run_in_session() {
    local environment
    mapfile -t environment < <(wine_environment "$PREFIX")
    find_steady
    "${RIGHTLESS[@]}" "${STEADY[@]}" env --default-signal=INT,QUIT "${INHERITED[@]}" "${environment[@]}" \
        "$@" <&0 3>&- 4>&- 5>&- 7>&- 8>&- 9>&- &
    # Without output: the shell would report a command that was ended by a signal.
    { wait "$!"; } 2>/dev/null
}

# end_session: returns when the keeper has ended all processes of the session and released the prefix. If the keeper was
# killed, this function does its work.
end_session() {
    # A box has the keeper's pipe, too.
    [[ -z ${BOX_PROCESS-} ]] || { kill "$BOX_PROCESS" && wait "$BOX_PROCESS"; } 2>/dev/null || true
    exec 8>&-
    if ! wait "$KEEPER"; then
        end_prefix "$PREFIX"
        [[ $KEEPING != discard ]] || discard_session "$PREFIX"
    fi
    exec 7>&- 9>&-
}

# prepare COMMAND...: runs a command without which no session can begin. Never call it in a condition.
prepare() {
    local said status
    set +e
    said=$( (set -e && "$@") 2>&1 >/dev/null)
    status=$?
    set -e
    ((status == 0)) && return
    end_session
    fail "cannot lay out a Wine prefix in $PREFIX: ${said##*$'\n'}"
}

# end_on_signal NAME: ends the session, then this script as the signal would have ended it, or with the status that
# stands for the signal. The command's status is ignored: a program under Wine that QUIT ends has status 0.
end_on_signal() {
    trap '' INT TERM HUP QUIT
    end_session
    trap - "$1"
    # QUIT doesn't end the shell itself, and no core file is wanted.
    [[ $1 != QUIT ]] || { ulimit -c 0 && exec env --default-signal=QUIT /bin/sh -c 'kill -s QUIT $$'; }
    kill -s "$1" "$$"
    exit $((128 + $(kill -l "$1")))
}
