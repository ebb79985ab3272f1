# shellcheck shell=bash
# What ./keyreap tells a person at a terminal when a run has ended. Sourced after common.sh and paths.sh.

# tell_outcome STATUS BEGIN WORD...: one line for the status and one for each .reg file of the command line. BEGIN is
# when the run began, in seconds since 1970; a file that is older was not written by it.
tell_outcome() {
    local status=$1 begin=$2 index
    shift 2
    say "status $status: $(status_words "$status" "$@")"
    [[ ${1-} == extreg ]] || return 0
    for ((index = 3; index <= $#; index += 2)); do
        say "${!index}: $(output_words "$(host_path "$(windows_path "${!index}")")" "$begin")"
    done
}

# status_words STATUS WORD...
status_words() {
    case $1 in
    0) [[ ${2-} == extreg && $# -ge 4 ]] && echo "captured" || echo "nothing was asked for" ;;
    255) [[ $# -ge 2 ]] && echo "failed; files behind the one that failed were not tried" || echo "there are no words" ;;
    *) echo "crashed, or was ended; see docs/exit-status.md" ;;
    esac
}

# host_path PATH: prints the path of this machine behind a Windows path, or nothing if it lies on drive C: of the run.
host_path() {
    [[ $1 == [Zz]:* ]] || return 0
    local path=${1:2}
    printf '%s' "${path//\\//}"
}

# output_words FILE BEGIN
output_words() {
    if [[ -z $1 ]]; then
        echo "on a drive that went with the run"
    elif [[ -z $(find "$1" -newermt "@$2" -print 2>/dev/null) ]]; then
        echo "not written"
    else
        local keys values
        read -r keys values < <(count_entries "$1")
        echo "$(counted "$keys" key), $(counted "$values" value), $(counted "$(stat -L -c %s "$1")" byte)"
    fi
}

counted() {
    (($1 == 1)) && echo "$1 $2" || echo "$1 $2s"
}

# count_entries FILE: prints the numbers of keys and values of a .reg file. Names and texts may hold line breaks, and bytes
# may go on in the next line. A backslash or quote at the start stands unescaped if it is the only one.
count_entries() {
    iconv -c -f UTF-16 -t UTF-8 "$1" | awk '
        function closed(text) {
            if (text == "\\\"") return 1
            gsub(/\\./, "", text)
            return text ~ /"/
        }
        { sub(/\r$/, "") }
        inText { inText = !closed($0); next }
        inBytes { inBytes = /\\$/; next }
        { line = name $0; name = "" }
        line ~ /^\[/ { keys++; next }
        match(line, /^(@|"([^"\\]|\\.)*"|"\\"|""[^"\\]*")=/) {
            values++
            data = substr(line, RLENGTH + 1)
            if (data ~ /^"/) inText = !closed(substr(data, 2))
            else inBytes = data ~ /\\$/
            next
        }
        line ~ /^"/ { name = line "\n" }
        END { print keys + 0, values + 0 }'
}
