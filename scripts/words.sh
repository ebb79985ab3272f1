# shellcheck shell=bash
# What ./keyreap says to whoever called it, all on standard error. Sourced after common.sh and checks.sh.

# shellcheck source=scripts/reasons.sh
source "$ROOT/scripts/reasons.sh"

usage() {
    say "usage: ./keyreap extreg FILE OUT.reg [FILE OUT.reg ...] [keyRedir|trace|both]"
}

# take_records WORD...: runs the check with these words and does what its records say. Fills WORDS and STATES, and OWN_STATUS
# with what the last record says; a check without a last record has failed.
take_records() {
    local kind text name='' path='' reason
    WORDS=() STATES=() OWN_STATUS=
    while IFS= read -r -d '' kind && IFS= read -r -d '' text; do
        case $kind in
        word) WORDS+=("$text") ;;
        state) STATES+=("$text") ;;
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
    done < <("$CAPTURE_CHECK" "$@")
    [[ -n $OWN_STATUS ]] || fail "the check of words and files failed ($CAPTURE_CHECK $1)"
}

# pair_reason WINDOWS_PATH OTHERWISE: why a pair failed whose files don't show it. What crashed says more than what was
# missing, and both more than the sentence OTHERWISE; only a call of a function that a library lacks needs both.
# KEYREAP_CRASH is what was seen of a crash.
pair_reason() {
    local reason=${KEYREAP_CRASH-} missing=
    [[ -n $reason && $reason != *"(0x80000100)"* ]] || missing=$(input_reason "$1")
    [[ -z $missing ]] || reason=${reason:+$reason; }$missing
    reason=${reason:-$2}
    # Names in it are those of a foreign file; a line stays one, and a terminal does nothing but show it.
    printf '%s' "${reason//[[:cntrl:]]/?}"
}

# start_progress_line WORD...: at a terminal, shows how far a run of many pairs is, on one line. PROGRESS is its process.
start_progress_line() {
    PROGRESS=none
    [[ -t 2 ]] && ((${#STATES[@]} > 1)) || return 0
    "$CAPTURE_CHECK" progress "${#STATES[@]}" "${STATES[@]}" "$@" </dev/null >/dev/null &
    # shellcheck disable=SC2034 # the report gets it
    PROGRESS=$!
}

# end_progress_line PROGRESS: returns when the line is free. A dead process has no streams, though it may still be listed.
end_progress_line() {
    [[ $1 != none ]] || return 0
    kill -KILL "$1" 2>/dev/null || true
    while [[ -e /proc/$1/fd/2 ]]; do sleep 0.01; done
    printf '\r\e[K' >&2
}
