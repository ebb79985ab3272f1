# shellcheck shell=bash
# The recording of how Wine starts programs. It is stored with the base and copied into every prefix. A trace reports what a
# program's own DLLs do ahead of the program's entry point, and leaves out what the recording says that the system does there
# (hostlogger/systemstart.h). A prefix works without a recording: a trace then reports nothing that a program does ahead of its
# entry point. Sourced after isolation.sh; recording needs build.sh, too.

START_RECORDING=$WINE_HOME/start/recording.txt
START_VERSION=$WINE_HOME/start/version
START_RECORDERS=("$BUILD"/stage/tools/x{64,86}/startrecorder.exe)

# record_start: where the base has no recording, an empty one, or one by another recorder.
record_start() {
    [[ -s $START_RECORDING ]] && start_recorded && [[ $(<"$START_VERSION") == "$(start_version)" ]] && return
    step start-recording "recording how Wine starts programs" make_start_recording
}

start_recorded() {
    [[ -f $START_RECORDING && -f $START_VERSION ]]
}

# start_version: of the recorder and of the base.
start_version() {
    cat "$WINE_BASE/version" "${START_RECORDERS[@]}" "$ROOT/scripts/startup.sh" | cksum
}

# make_start_recording: the recording is empty if it can't be made. The host then counts as unknown (probe.sh).
make_start_recording() {
    local new=$WINE_HOME/start.new recorder probes=()
    for recorder in "${START_RECORDERS[@]}"; do probes+=("Z:${recorder//\//\\}"); done
    clean_environment KEYREAP_WINESERVER="${KEYREAP_WINESERVER-}" KEYREAP_SANDBOX="${KEYREAP_SANDBOX-}" \
        timeout -k 10 120 "$ROOT/scripts/wine-session.sh" --ready --no-display --requests --box --see "$STAGE" \
        "$WINE" "${probes[0]}" "${probes[@]}" >"$new" || : >"$new"
    mkdir -p "${START_RECORDING%/*}"
    mv "$new" "$START_RECORDING"
    start_version >"$START_VERSION"
}

# place_start_recording PREFIX: keeps all times, so that every session finds the same ones.
place_start_recording() {
    [[ -f $START_RECORDING ]] || return 0
    cp --preserve=timestamps "$START_RECORDING" "$(placed_start_recording "$1")"
    touch -r "$WINE_BASE/drive_c/windows" "$1/drive_c/windows"
}

placed_start_recording() {
    printf '%s/drive_c/windows/keyreap-start.txt' "$1"
}
