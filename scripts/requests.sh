# shellcheck shell=bash
# The request log of Wine's server: the requests of all processes of a prefix, as far as a trace needs them. Sourced
# after common.sh and wine.sh.
#
#   wineserver -f -d2  ->  a pipe  ->  requestfilter  ->  drive_c/windows/keyreap-requests.log in the prefix
#
# -d2 and not -d, since then the server also reports which key it found or made under the name that was asked for.
# The pipe carries the environment of every process, which must never be on disk. The server ends if nobody reads
# the pipe, and waits while it is full; so the filter reads until the server has ended, and then removes its file.

REQUEST_FILTER=$BUILD/tools/requestfilter
REQUEST_LOG=drive_c/windows/keyreap-requests.log

# Files of the prefix, for what a session says (notes.sh). What is in the folder isn't in the session's box.
#   MIXED_KEYS_NOTE       the names of keys that Wine mixed up (mixedkeys.sh), one a line, if there are any: by the filter when
#                         the session ends
#   UNPLACED_LINES_NOTE   the first line of the log that no known server writes, and in a second line the number of such
#                         lines: by the filter, too
#   BOX_NOTE              what became of the box: by sessionbox
#   CRASH_NOTE            what crashed: by the observer, which is in the box
NOTES=notes
MIXED_KEYS_NOTE=$NOTES/mixedkeys
UNPLACED_LINES_NOTE=$NOTES/unplacedlines
# shellcheck disable=SC2034 # the scripts that source this one read them
BOX_NOTE=$NOTES/box CRASH_NOTE=crash

# start_logging_server PREFIX: the server runs until it is ended, also while no program runs.
start_logging_server() {
    local environment
    mapfile -t environment < <(wine_environment "$1")
    "${RIGHTLESS[@]}" env -i PATH="$STANDARD_PATH" "${environment[@]}" \
        "$WINESERVER" -f -d2 -p </dev/null 2>&1 >/dev/null 7>&- 9>&- |
        "$REQUEST_FILTER" "$1/$REQUEST_LOG" "$1/$MIXED_KEYS_NOTE" "$1/$UNPLACED_LINES_NOTE" \
            >/dev/null 2>&1 7>&- 9>&- &
}

# await_logging_server PREFIX: the log begins with the server's line that it is up.
await_logging_server() {
    local round
    for ((round = 0; round < 1000; round++)); do
        [[ ! -f $1/$REQUEST_LOG ]] || return 0
        sleep 0.01
    done
    return 1
}
