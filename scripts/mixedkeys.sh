# shellcheck shell=bash
# Keys that Wine mixed up: it redirects the path of a 32-bit program, and one in the 32-bit view, at any key that has a child
# Wow6432Node, so a server that writes to such keys may get a wrong key for its name (docs/tracing.md). The request filter finds that in a
# session's log and leaves the names when the session ends (notes.sh). Sourced after common.sh.

# mixed_keys_text: prints one sentence for all names of the array MIXED_KEYS, or nothing.
mixed_keys_text() {
    local others=$((${#MIXED_KEYS[@]} - 1)) more=
    ((others >= 0)) || return 0
    ((others == 0)) || more=" and $others more"
    printf '%s: %s' "${MIXED_KEYS[0]}$more" \
        "Wine took a key below Wow6432Node for this one, so the .reg file can't be relied on there; see docs/tracing.md"
}
