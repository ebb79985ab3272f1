# shellcheck shell=bash
# Paths of this machine as Windows paths. Sourced after common.sh.

# windows_path PATH: prints a host path as the Windows path that names the same file. What begins with a drive
# letter and a colon, or with two backslashes, is a Windows path already and stays as it is.
windows_path() {
    "$BUILD/tools/capturecheck" path "$1"
}

# host_path WINDOWS_PATH: prints the path of the same file on this machine, or nothing for one that is on no drive of it.
host_path() {
    [[ $1 == [zZ]:* ]] || return 0
    local path=${1:2}
    printf '%s' "${path//\\//}"
}
