# shellcheck shell=bash
# The messages of ./keyreap, all on standard error. Sourced after common.sh.

# shellcheck source=scripts/reasons.sh
source "$ROOT/scripts/reasons.sh"

usage() {
    local command=./keyreap
    [[ ! -f $ROOT/prebuilt ]] || command=keyreap
    say "usage: $command [--see FOLDER] [--env NAME] [--display] extreg FILE OUT.reg [FILE OUT.reg ...] [keyRedir|trace|both]"
}

# take_records WORD...: runs the check with these words and carries out its records. Fills WORDS, STATES, TRACES, INPUTS,
# FILES, which are options of wine-session.sh, and OWN_STATUS from the last record; a check without that record has failed.
# shellcheck disable=SC2034 # not every caller reads all of them
take_records() {
    local kind text name='' path='' reason
    WORDS=() STATES=() FILES=() INPUTS=() TRACES=no OWN_STATUS=
    while IFS= read -r -d '' kind && IFS= read -r -d '' text; do
        case $kind in
        word) WORDS+=("$text") ;;
        state) STATES+=("$text") ;;
        input | output)
            FILES+=("--$kind" "$text")
            [[ $kind == output ]] || INPUTS+=("$text")
            ;;
        traces) TRACES=$text ;;
        say) say "$text" ;;
        usage) usage ;;
        name) name=$text ;;
        path) path=$text ;;
        open)
            reason=$(pair_reason "$path" "$text" </dev/null)
            say "$name: ${reason:-$text}"
            ;;
        status) OWN_STATUS=$text ;;
        esac
    done < <("$BUILD/tools/capturecheck" "$@")
    [[ -n $OWN_STATUS ]] || fail "the check of words and files failed ($BUILD/tools/capturecheck $1)"
}

# pair_reason WINDOWS_PATH OTHERWISE: prints why a pair failed whose files don't show it. A crash (KEYREAP_CRASH)
# explains more than a missing file, and both explain more than the sentence OTHERWISE. Only the call of a function that
# a library lacks needs both.
pair_reason() {
    local reason=${KEYREAP_CRASH-} missing=
    [[ -n $reason && $reason != *"(0x80000100)"* ]] || missing=$(input_reason "$1")
    [[ -z $missing ]] || reason=${reason:+$reason; }$missing
    reason=${reason:-$2}
    # The names come from a foreign file: they must neither add lines nor control a terminal.
    printf '%s' "${reason//[[:cntrl:]]/?}"
}

# start_progress_line WORD...: at a terminal, shows the progress of a run of many pairs on one line. PROGRESS is the
# process that does so, or `none`.
start_progress_line() {
    PROGRESS=none
    [[ -t 2 ]] && ((${#STATES[@]} > 1)) || return 0
    "$BUILD/tools/capturecheck" progress "${#STATES[@]}" "${STATES[@]}" "$@" </dev/null >/dev/null &
    # shellcheck disable=SC2034 # the report gets it
    PROGRESS=$!
}

# end_progress_line PROGRESS: returns when the line is free. A dead process may still be listed, but has no open
# streams.
end_progress_line() {
    [[ $1 != none ]] || return 0
    kill -KILL "$1" 2>/dev/null || true
    while [[ -e /proc/$1/fd/2 ]]; do sleep 0.01; done
    printf '\r\e[K' >&2
}
