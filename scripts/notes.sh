# shellcheck shell=bash
# What a session leaves for whoever asked for it: the keys that Wine mixed up, by the filter of requests, and what crashed, by
# the observer. Both are files of the prefix, and go with it; they are read through descriptors from before. Sourced after
# common.sh and requests.sh.
#   5   the file of the keys
#   4   the file of the crash

# open_notes PREFIX: which has been renewed.
open_notes() {
    : >"$(mixed_keys_file "$1")"
    : >"$(crash_file "$1")"
    exec 5<"$(mixed_keys_file "$1")" 4<"$(crash_file "$1")"
}

crash_file() {
    printf '%s/crash' "$1"
}

# take_notes: when the session has ended. Fills MIXED_KEYS with the names, and CRASH with what the observer wrote.
take_notes() {
    # shellcheck disable=SC2034 # whoever reports has them
    mapfile -t MIXED_KEYS <&5
    # shellcheck disable=SC2034
    CRASH=$(cat <&4)
    exec 5<&- 4<&-
}
