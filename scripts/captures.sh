# shellcheck shell=bash
# What `keykit capture` has to know of sessions. Sourced after setup.sh.

for part in notes boxend box; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

# name_capture: keykit starts this command for a server, and compares the version, which is that of all that captures.
name_capture() {
    export KEYKIT_CAPTURE=$ROOT/keyreap KEYKIT_CAPTURE_VERSION
    KEYKIT_CAPTURE_VERSION="$(cat "$STAGE"/bin/x{64,86}/Keyreap.exe | sha1sum | cut -c 1-12), $(<"$WINE_BASE/version")"
}

# name_session_places: names what keykit needs to begin a plain session itself (kit/quicksession.h): one of root's, with
# mounts, a box and a request log. A box's words but those for the files of a server are the same in each session.
name_session_places() {
    local words
    PREFIX=$POOL/many
    [[ $EUID == 0 && $ISOLATION == mounts && $SANDBOX != off && -z ${KEYREAP_WINESERVER-}${KEYREAP_HOST-} ]] || return 0
    ! host_unknown || return 0
    mkdir -p "$PREFIX"
    # shellcheck disable=SC2034 # box_words reads it
    PLACES=(--see "$STAGE/bin")
    exec {words}< <(
        box_words yes
        printf '%s\0' -- "$OBSERVER" "$PREFIX/$CRASH_NOTE" "$WINE_PROGRAMS/wine64" "$STAGE/bin/x64/Keyreap.exe"
    )
    export KEYKIT_CAPTURE_BOX=/dev/fd/$words KEYKIT_CAPTURE_WINE=$WINE_HOME KEYKIT_CAPTURE_PREFIX=$PREFIX
    export KEYKIT_CAPTURE_TOOLS=$BUILD/tools KEYKIT_CAPTURE_DISK
    take_ceilings
    KEYKIT_CAPTURE_DISK=$DISK_CEILING
}
