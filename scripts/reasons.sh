# shellcheck shell=bash
# Why a run failed, where its status doesn't say. Sourced after common.sh. Only called after a failure, since it runs a
# session of its own.

# shellcheck source=scripts/paths.sh
source "$ROOT/scripts/paths.sh"

# How many seconds the examination of a file may take: it may load the file, and a DllMain may wait for ever.
REASON_LIMIT=30

# input_reason WINDOWS_PATH: prints why the file can't be registered, as a piece of a sentence ("needs foo.dll, which is
# nowhere; wanted by bar.dll"), or nothing if no reason is found. The 64-bit program may say that the 32-bit one has to examine
# the file. An interrupt from the keyboard ends the examination (--foreground), and so does the end of the caller, since
# nobody needs the reason then.
input_reason() {
    local bitness reason status file
    file=$(host_path "$1")
    for bitness in x64 x86; do
        status=0
        reason=$(exec setpriv --pdeathsig TERM timeout --foreground -k 5 "$REASON_LIMIT" \
            "$ROOT/scripts/wine-session.sh" --ready --no-display --box --see "$BUILD/stage/tools" \
            ${file:+--input "$file"} /usr/bin/wine "$BUILD/stage/tools/$bitness/explain.exe" "$1" \
            2>/dev/null </dev/null > >(head -c 4096 | tr -d '\000')) || status=$?
        ((status == 2)) || break
    done
    ((status != 0)) || printf '%s' "$reason"
}
