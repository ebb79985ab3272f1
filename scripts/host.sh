# shellcheck shell=bash
# How strict the logger of a session's host is (hostlogger/strictness.h): KEYREAP_HOST has its switches, separated by
# commas. It's for tests, and is passed on to the sessions inside a run. Sourced after common.sh.

# What Windows does at every run.
STANDARD_HOST=(creations system outlives capitals)

# host_switches WORDS: prints one switch a line. The word `strict` means the standard ones. Fails for an unknown switch.
host_switches() {
    local words word
    IFS=, read -ra words <<<"$1"
    for word in "${words[@]}"; do
        case $word in
        strict) printf '%s\n' "${STANDARD_HOST[@]}" ;;
        creations | system | outlives | capitals) printf '%s\n' "$word" ;;
        *)
            [[ $word =~ ^(user S(-[0-9]+)+|(status|lost) [0-9]+)$ ]] || fail "KEYREAP_HOST has an unknown switch: $word"
            printf '%s\n' "$word"
            ;;
        esac
    done
}

# place_host_description PREFIX: without switches there is none.
place_host_description() {
    [[ -n ${KEYREAP_HOST-} ]] || return 0
    host_switches "$KEYREAP_HOST" >"$(placed_host_description "$1")"
    touch -r "$WINE_BASE/drive_c/windows" "$(placed_host_description "$1")" "$1/drive_c/windows"
}

placed_host_description() {
    printf '%s/drive_c/windows/keyreap-host.txt' "$1"
}
