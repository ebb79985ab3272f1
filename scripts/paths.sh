# shellcheck shell=bash
# Paths of this machine as Windows paths. Sourced after common.sh.

# windows_path PATH: prints a host path as the Windows path that names the same file. What begins with a drive
# letter and a colon, or with two backslashes, is a Windows path already and stays as it is.
windows_path() {
    "$BUILD/tools/capturecheck" path "$1"
}
