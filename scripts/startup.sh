# shellcheck shell=bash
# The recording of how Wine starts programs, in the base that every prefix is made from. A trace reports what a program's
# own DLLs do ahead of the program's entry point; what the system does there, too, it leaves out by this recording
# (platform/os/wine/systemstart.h). A prefix without one is of use all the same: a trace then reports nothing of what a
# program does ahead of its entry point. Sourced after session.sh, base.sh and build.sh.

START_RECORDING=$WINE_BASE/copied/windows/keyreap-start.txt
START_VERSION=$WINE_BASE/start.version
START_RECORDER_SOURCES=("$ROOT/tools/startrecorder" "$ROOT/platform/os/wine" "$ROOT/scripts/startup.sh")

# record_start: where the base has no recording, or one by another recorder.
record_start() {
    start_recorded && [[ $(<"$START_VERSION") == "$(start_version)" ]] && return
    step start-recording "recording how Wine starts programs" make_start_recording
}

start_recorded() {
    [[ -f $START_RECORDING && -f $START_VERSION ]]
}

start_version() {
    find "${START_RECORDER_SOURCES[@]}" -type f -print0 | sort -z | xargs -0 cat | cksum
}

make_start_recording() {
    local preset new=$WINE_HOME/start.new probes=()
    for preset in x64 x86; do
        build_preset "$preset" startrecorder
        probes+=("Z:${BUILD//\//\\}\\$preset\\tools\\startrecorder\\startrecorder.exe")
    done
    clean_environment "$ROOT/scripts/wine-session.sh" --ready --no-display --requests \
        timeout -k 10 120 "$WINE" "${probes[0]}" "${probes[@]}" >"$new"
    keep_start_recording "$new"
}

# keep_start_recording FILE: into the base. Each prefix of the pool is made from it anew.
keep_start_recording() {
    (
        flock 8
        rm -f "$START_VERSION" "$WINE_HOME"/pool/*.list "$POOL"/*.list
        mv "$1" "$START_RECORDING"
        start_version >"$START_VERSION"
    ) 8>"$WINE_BASE_LOCK"
}
