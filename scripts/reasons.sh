# shellcheck shell=bash
# Why a run failed, where its status doesn't say. Sourced after common.sh. Only called after a failure, since it runs a
# session of its own.

# How many seconds the examination of a file may take: it may load the file, and a DllMain may wait for ever.
REASON_LIMIT=30

# Starts the 64-bit program, which may say that the 32-bit one has to examine the file. Ends with the process $4: if the
# caller is killed, nobody needs the reason.
# shellcheck disable=SC2016 # the words are those of a shell of its own
ASK_PROGRAMS='{ tail --pid="$4" -s 0.2 -f /dev/null; kill "$$"; } >/dev/null &
    /usr/bin/wine "$1" "$3" || { (($? == 2)) && /usr/bin/wine "$2" "$3"; }'

# input_reason WINDOWS_PATH: prints why the file can't be registered, as a piece of a sentence ("needs foo.dll, which is
# nowhere; wanted by bar.dll"), or nothing if no reason is found. An interrupt from the keyboard ends the examination
# (--foreground).
input_reason() {
    local programs=("$BUILD"/stage/tools/x{64,86}/explain.exe) reason
    reason=$(timeout --foreground -k 5 "$REASON_LIMIT" "$ROOT/scripts/wine-session.sh" --ready --no-display \
        /bin/bash -c "$ASK_PROGRAMS" bash "${programs[@]}" "$1" "$$" 2>/dev/null </dev/null) || return 0
    printf '%s' "$reason"
}
