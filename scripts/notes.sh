# shellcheck shell=bash
# What a session leaves for its caller: the keys that Wine mixed up and the log's unplaced lines, written by the request
# filter, and what crashed, written by the observer. They are files of the prefix, which are removed with it, so they are
# read through descriptors that were opened before. Sourced after common.sh and requests.sh.
#   5   the file of the keys
#   4   the file of the crash
#   3   the file of the unplaced lines

# In bytes. A server can write more, and a command line holds only so much.
LONGEST_NOTE=16384

# open_notes PREFIX: call it after the prefix was renewed.
open_notes() {
    mkdir -p "$(notes_folder "$1")"
    : >"$(mixed_keys_file "$1")"
    : >"$(crash_file "$1")"
    : >"$(unplaced_lines_file "$1")"
    exec 5<"$(mixed_keys_file "$1")" 4<"$(crash_file "$1")" 3<"$(unplaced_lines_file "$1")"
}

# crash_file PREFIX: in the box, since the observer is.
crash_file() {
    printf '%s/crash' "$1"
}

# take_notes: call it after the session has ended. Fills MIXED_KEYS with the names, CRASH with the observer's text, and
# UNPLACED with the first unplaced line and their number.
take_notes() {
    # shellcheck disable=SC2034 # the scripts that report read them
    mapfile -t MIXED_KEYS < <(head -c "$LONGEST_NOTE" <&5)
    # shellcheck disable=SC2034
    CRASH=$(head -c "$LONGEST_NOTE" <&4 | tr -d '\000')
    # shellcheck disable=SC2034
    mapfile -t UNPLACED < <(head -c "$LONGEST_NOTE" <&3)
    exec 5<&- 4<&- 3<&-
}
