# shellcheck shell=bash
# Lines of the request log that no known server writes: there, Wine may have reported changes of the registry that a trace
# misses (docs/tracing.md). The request filter leaves the first one and their number when the session ends (notes.sh).
# Sourced after common.sh.

# unplaced_text: prints why the request log can't be relied on, as a piece of a sentence, or nothing. A filter that was
# killed, or found no space, has left no number in the array UNPLACED.
unplaced_text() {
    if [[ ! ${UNPLACED[1]-} =~ ^[0-9]+$ ]]; then
        printf '%s' "what reads the log of Wine's server didn't reach its end"
    elif ((UNPLACED[1] > 0)); then
        printf '%s' "Wine's server logged a line that Keyreap doesn't know: ${UNPLACED[0]}"
        ((UNPLACED[1] == 1)) || printf ' and %d more' $((UNPLACED[1] - 1))
    fi
}

# unplaced_sentence TEXT: prints what the text means for a run.
unplaced_sentence() {
    printf '%s' "the .reg files of traced pairs can't be relied on, since $1; the mode keyRedir works, but not for programs; see docs/hosts.md"
}
