# shellcheck shell=bash
# A session is one use of a Wine prefix out of the pool: taken, made anew, used by one command, and ended.
# Sourced after common.sh and wine.sh.
#
# Two file descriptors belong to the session and to nobody that it starts:
#   9   the lock of the prefix; the keeper has it too
#   8   a pipe to the keeper, which ends the session when the last writer is gone, so after a kill -9 as well

POOL=${KEYREAP_POOL:-$WINE_HOME/pool}
POOL_SIZE=${KEYREAP_POOL_SIZE:-$(nproc)}

# take_prefix: waits for a free prefix; PREFIX is its folder and descriptor 9 its lock.
take_prefix() {
    local number
    mkdir -p "$POOL"
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

# start_keeper: from here on the session ends properly, whatever becomes of this script.
start_keeper() {
    exec 8> >(exec setsid "$ROOT/scripts/session-keeper.sh" "$PREFIX" >/dev/null 2>&1)
    KEEPER=$!
}

# renew_prefix CLASSES SHARE: nothing of an earlier run is left. CLASSES is `all` or `none`; SHARE is a folder
# to be seen as \\server\share, or empty.
renew_prefix() {
    rm -rf "$PREFIX"
    mkdir -p "$PREFIX"
    (
        flock -s 7
        cp -al "$WINE_BASE/linked/." "$PREFIX"
        cp -a "$WINE_BASE/copied/." "$PREFIX"
        [[ $1 != none ]] || cp "$WINE_BASE/classless/system.reg" "$PREFIX/system.reg"
    ) 7>"$WINE_BASE_LOCK"
    [[ -z $2 ]] || show_share "$2"
}

show_share() {
    mkdir -p "$PREFIX/dosdevices/unc/server"
    ln -s "$(realpath -- "$1")" "$PREFIX/dosdevices/unc/server/share"
}

# run_in_session COMMAND...: gives COMMAND's status. It runs in the background so that a signal to this script
# is answered at once; unlike a shell's usual background command it can be interrupted and reads the input.
run_in_session() {
    local environment unset_options name
    mapfile -t environment < <(wine_environment "$PREFIX")
    unset_options=()
    for name in ${!WINE@}; do unset_options+=(-u "$name"); done
    env --default-signal=INT,QUIT "${unset_options[@]}" "${environment[@]}" "$@" <&0 8>&- 9>&- &
    wait "$!"
}

# end_session: returns when the keeper has ended all that belongs to the session and given the prefix back.
end_session() {
    exec 8>&- 9>&-
    wait "$KEEPER" || true
}

# end_on_signal NAME: ends the session, then this script the way the signal would have ended it.
end_on_signal() {
    trap '' INT TERM HUP
    end_session
    trap - "$1"
    kill -s "$1" "$$"
}
