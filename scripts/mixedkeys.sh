# shellcheck shell=bash
# Keys that Wine mixed up: it sends the path of a 32-bit program through any key that has a child Wow6432Node, so a server
# that writes to such keys may get another one for its name (docs/tracing.md). The filter of requests finds that in a
# session's log and leaves the names when the session ends. Sourced after common.sh and requests.sh.

# The names of the session that ended last.
MIXED_KEYS=()

# take_mixed_keys PREFIX: fills MIXED_KEYS. The prefix is still locked, and its server and filter have ended.
take_mixed_keys() {
    local file
    file=$(mixed_keys_file "$1")
    MIXED_KEYS=()
    [[ -f $file ]] || return 0
    mapfile -t MIXED_KEYS <"$file"
    rm -f "$file"
}

# report_mixed_keys: one line on standard error for all of them, or nothing.
report_mixed_keys() {
    local others=$((${#MIXED_KEYS[@]} - 1)) more=
    ((others >= 0)) || return 0
    ((others == 0)) || more=" and $others more"
    say "${MIXED_KEYS[0]}$more: Wine took a key below Wow6432Node for this one, so the .reg file can't be relied on" \
        "there; see docs/tracing.md"
}
