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

# notes_folder PREFIX: what the session's scripts keep there isn't in its box.
notes_folder() {
    printf '%s/notes' "$1"
}

# mixed_keys_file PREFIX: where the filter leaves the names of keys that Wine mixed up (mixedkeys.sh), one a line, when the
# session ends and if there are any.
mixed_keys_file() {
    printf '%s/mixedkeys' "$(notes_folder "$1")"
}

# unplaced_lines_file PREFIX: where the filter leaves the first line of the log that no known server writes, and the number of
# such lines in a second line, when the session ends.
unplaced_lines_file() {
    printf '%s/unplacedlines' "$(notes_folder "$1")"
}

# start_logging_server PREFIX: the server runs until it is ended, also while no program runs.
start_logging_server() {
    local environment
    mapfile -t environment < <(wine_environment "$1")
    "${RIGHTLESS[@]}" env -i PATH="$STANDARD_PATH" "${environment[@]}" \
        "$WINESERVER" -f -d2 -p </dev/null 2>&1 >/dev/null 7>&- 9>&- |
        "$REQUEST_FILTER" "$1/$REQUEST_LOG" "$(mixed_keys_file "$1")" "$(unplaced_lines_file "$1")" \
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
