# shellcheck shell=bash
# Lines of the request log that no known server writes: there, Wine may have reported changes of the registry that a trace
# misses (docs/tracing.md). The request filter leaves the first one and their number when the session ends (notes.sh).
# Sourced after common.sh.

# unplaced_text: prints the array UNPLACED as a piece of a sentence, or nothing.
unplaced_text() {
    ((${#UNPLACED[@]} == 2)) || return 0
    printf '%s' "${UNPLACED[0]}"
    ((UNPLACED[1] == 1)) || printf ' and %d more' $((UNPLACED[1] - 1))
}

# unplaced_sentence TEXT: prints what the text means for a run.
unplaced_sentence() {
    printf '%s' "the .reg files of traced pairs can't be relied on, since Wine's server logged a line that Keyreap doesn't" \
        " know: $1; the mode keyRedir works, but not for programs; see docs/hosts.md"
}
