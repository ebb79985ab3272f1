#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/probed.sh captures|log STATUS   (started by probe.sh)
# Prints why the host isn't known, as a piece of a sentence, or nothing. `captures`, inside a session, captures a server of
# each bitness in every mode, and in mode trace also a program that registers nothing. `log`, after the session, looks
# at what its request log had (KEYREAP_UNPLACED), and at the STATUS of `captures`, which is 0 unless it was ended.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/wine.sh
source "$ROOT/scripts/wine.sh"
# shellcheck source=scripts/build.sh
source "$ROOT/scripts/build.sh"

# unknown WHY: the host isn't known.
unknown() {
    printf '%s\n' "$1"
    exit 0
}

# capture MODE: the .reg files are $OUT/BITNESS.MODE and $OUT/BITNESS.program.
capture() {
    local mode=$1 words=() bitness stage status=0
    stage=Z:${STAGE//\//\\}
    for bitness in x64 x86; do
        words+=("$stage\\samples\\$bitness\\thermometer.dll" "C:\\probe\\$bitness.$mode")
        [[ $mode != trace ]] || words+=("$stage\\tools\\$bitness\\explain.exe" "C:\\probe\\$bitness.program")
    done
    timeout -k 5 60 "$WINE" "$STAGE/bin/x64/Keyreap.exe" extreg "${words[@]}" "$mode" </dev/null >/dev/null 2>&1 || status=$?
    ((status == 0)) || unknown "in mode $mode Keyreap.exe ended with $status for its sample server"
}

# text FILE: prints a .reg file as UTF-8.
text() {
    iconv -f UTF-16 -t UTF-8 "$1" | tr -d '\r'
}

# values FILE: prints the keys with their values. By redirection a .reg file also has keys without one.
values() {
    text "$1" | awk 'BEGIN { RS = ""; ORS = "\n\n" } /\n/'
}

check_captures() {
    local bitness mode expected
    for bitness in x64 x86; do
        # A missing file has no value either.
        expected=$(values "$OUT/$bitness.keyRedir") || true
        [[ -n $expected ]] || unknown "in mode keyRedir the $bitness sample server has no value"
        for mode in trace both; do
            [[ $(values "$OUT/$bitness.$mode") == "$expected" ]] ||
                unknown "in mode $mode the $bitness sample server has other values than in mode keyRedir"
        done
        [[ $(text "$OUT/$bitness.program") == "Windows Registry Editor Version 5.00" ]] ||
            unknown "a trace takes what Wine does at the start of a program for what the $bitness program does"
    done
}

case $1 in
captures)
    OUT=$WINEPREFIX/drive_c/probe
    mkdir "$OUT"
    for mode in keyRedir trace both; do capture "$mode"; done
    check_captures
    ;;
log)
    [[ -z $KEYREAP_UNPLACED ]] || unknown "$KEYREAP_UNPLACED"
    (($2 == 0)) || unknown "the trial of the modes ended with $2"
    ;;
esac
