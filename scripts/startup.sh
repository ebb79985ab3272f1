# shellcheck shell=bash
# The recording of how Wine starts programs, in the base that every prefix is made from. A trace reports what a program's
# own DLLs do ahead of the program's entry point; what the system does there, too, it leaves out by this recording
# (platform/os/wine/systemstart.h). A prefix without one is of use all the same: a trace then reports nothing of what a
# program does ahead of its entry point. Sourced after common.sh, base.sh and build.sh.

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
    clean_environment timeout -k 10 300 "$ROOT/scripts/wine-session.sh" --ready --no-display --requests \
        "$WINE" "${probes[0]}" "${probes[@]}" >"$new"
    keep_start_recording "$new"
}

# keep_start_recording FILE: into the base. Each prefix of the pool is then made anew, since the base's version has
# another inode.
keep_start_recording() {
    (
        flock 8
        rm -f "$START_VERSION"
        mv "$1" "$START_RECORDING"
        cp -p "$WINE_BASE/version" "$WINE_BASE/version.new"
        mv "$WINE_BASE/version.new" "$WINE_BASE/version"
        start_version >"$START_VERSION"
    ) 8>"$WINE_BASE_LOCK"
}
