# shellcheck shell=bash
# From the words of the command line to the words that Keyreap.exe gets. Sourced; needs nothing else.

# windows_path PATH: prints a host path as the Windows path that names the same file. What begins with a drive
# letter and a colon, or with two backslashes, is a Windows path already and stays as it is.
windows_path() {
    local path=$1
    if [[ -z $path || $path =~ ^[A-Za-z]: || $path == \\\\* ]]; then
        printf '%s' "$path"
        return
    fi
    # Windows has no file name with a backslash in it, so one can only be meant as a separator.
    path=${path//\\//}
    [[ $path == /* ]] || path=$(pwd)/$path
    path=$(without_parents "$path")
    path=Z:${path//\//\\}
    printf '%s' "$path"
}

# without_parents PATH: `..` means the folder above the real one here, but the one above the written one in
# Windows. So the part up to the last `..` becomes the folder that it is here; the rest stays as written.
without_parents() {
    local path=$1/ front
    if [[ $path == */../* ]]; then
        front=${path%/../*}/..
        path=$(realpath -m -- "$front")/${path##*/../}
    fi
    path=${path%/}
    printf '%s' "$path" | tr -s /
}

# keyreap_arguments NAME WORD...: fills the array NAME with the words for Keyreap.exe. Behind the verb extreg
# the words that form pairs are paths; every other word stays as it is.
keyreap_arguments() {
    local -n words=$1
    shift
    words=("$@")
    [[ ${1-} == extreg ]] || return 0
    local index pairs=$(((${#words[@]} - 1) / 2))
    for ((index = 1; index <= 2 * pairs; index++)); do
        words[index]=$(windows_path "${words[index]}")
    done
}
