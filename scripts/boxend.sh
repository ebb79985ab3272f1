# shellcheck shell=bash
# The end of a box whose own program was killed. Sourced after common.sh and requests.sh.

# end_box PREFIX: ends what sessionbox couldn't, by its own report (tools/box/outside.h).
end_box() {
    local word text report=()
    [[ ! -f $1/$BOX_NOTE ]] || mapfile -t report <"$1/$BOX_NOTE"
    ((${#report[@]} > 0)) || end_beginnings "$1"
    for word in "${report[@]}"; do
        text=${word#* }
        case $word in
        first\ *) await_end "$text" ;;
        group\ *) rmdir "$text" 2>/dev/null || true ;;
        esac
    done
}

# end_beginnings PREFIX: kills what is left of a box that hadn't begun yet when its own program was killed.
end_beginnings() {
    local file
    { grep -lzxF -- "$1" /proc/[0-9]*/cmdline 2>/dev/null || true; } | while IFS=/ read -r _ _ file _; do
        [[ $(readlink "/proc/$file/exe" 2>/dev/null) != */bwrap ]] || await_end "$file"
    done
}

# await_end PROCESS: kills the first process of a box, and returns when all others have ended with it.
await_end() {
    [[ $1 =~ ^[1-9][0-9]*$ ]] || return 0
    while kill -KILL "$1" 2>/dev/null; do sleep 0.01; done
}
