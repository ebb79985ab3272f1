# shellcheck shell=bash
# The options of ./keyreap and of `keykit explain` that let a server's box have more. Sourced after box.sh.

# take_options WORD...: fills OPTIONS, those of wine-session.sh, and TAKEN, the number of words that they took.
# shellcheck disable=SC2034 # the commands read them
take_options() {
    local count=$#
    OPTIONS=(--no-display) TAKEN=0
    while (($# > 0)); do
        case $1 in
        --see)
            check_seen "${2-}"
            OPTIONS+=("$1" "$2")
            shift
            ;;
        --env)
            check_passed "${2-}"
            OPTIONS+=("$1" "$2")
            shift
            ;;
        --display) OPTIONS=("$1" "${OPTIONS[@]:1}") ;;
        *) break ;;
        esac
        shift
    done
    TAKEN=$((count - $#))
}
