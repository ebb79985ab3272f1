# shellcheck shell=bash
# shellcheck disable=SC2034 # the scripts that report read the notes
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
    mkdir -p "$1/$NOTES"
    : >"$1/$MIXED_KEYS_NOTE"
    : >"$1/$CRASH_NOTE"
    : >"$1/$UNPLACED_LINES_NOTE"
    exec 5<"$1/$MIXED_KEYS_NOTE" 4<"$1/$CRASH_NOTE" 3<"$1/$UNPLACED_LINES_NOTE"
}

# take_notes: call it after the session has ended. Fills MIXED_KEYS with the names, CRASH with the observer's text, and
# UNPLACED with the first unplaced line and their number.
take_notes() {
    MIXED_KEYS=() CRASH='' UNPLACED=()
    # Few sessions have notes, and each program here costs a millisecond.
    [[ ! -s /dev/fd/5 ]] || mapfile -t MIXED_KEYS < <(head -c "$LONGEST_NOTE" <&5)
    [[ ! -s /dev/fd/4 ]] || CRASH=$(head -c "$LONGEST_NOTE" <&4 | tr -d '\000')
    [[ ! -s /dev/fd/3 ]] || mapfile -t UNPLACED < <(head -c "$LONGEST_NOTE" <&3)
    exec 5<&- 4<&- 3<&-
}
