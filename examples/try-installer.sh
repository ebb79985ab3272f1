#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: try-installer.sh FILE FOLDER CLIENT...   (within a session of scripts/wine-session.sh)
# Installs FILE, an .msi or an .exe of NSIS or Inno Setup, into FOLDER, lets each CLIENT below it create and call the servers,
# uninstalls, and compares registry and drive with what they were. Paths are those of Windows. Ends with 1 at the first
# thing that isn't as it should be.
set -euo pipefail

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

fail() {
    printf '  %s\n' "$*"
    exit 1
}

# NSIS and Inno Setup ignore each other's words.
SILENT=(/S /VERYSILENT /SUPPRESSMSGBOXES)

install() {
    case $1 in
    *.msi) run_windows msiexec /i "$1" /qn ;;
    *) run_windows "$1" "${SILENT[@]}" ;;
    esac
}

uninstall() {
    case $1 in
    *.msi) run_windows msiexec /x "$1" /qn ;;
    *) run_windows "$2\\$(uninstaller_in "$2")" "${SILENT[@]}" ;;
    esac
}

# uninstaller_in FOLDER: prints the name of the uninstaller, which Inno Setup chooses itself.
uninstaller_in() {
    local path=${1//\\//}
    if [[ -e $WINEPREFIX/dosdevices/${path,}/unins000.exe ]]; then
        echo unins000.exe
    else
        echo uninstall.exe
    fi
}

# run_windows COMMAND...: also waits for what the command starts; an uninstaller continues as a copy of itself.
run_windows() {
    local status=0
    wine "$@" >/dev/null 2>&1 || status=$?
    wineserver -w
    return "$status"
}

# use CLIENT: creates and calls every server that the client knows.
use() {
    local server line
    for server in thermometer journal; do
        line=$(wine "$1" "$server" 2>/dev/null) || fail "$1 $server: ${line//$'\r'/}"
        printf '  %s: %s\n' "$(bitness_of "$1")" "${line//$'\r'/}"
    done
}

bitness_of() {
    [[ $1 == *x86* ]] && echo 32-bit || echo 64-bit
}

# look NAME: writes the registry to NAME.keys and the drive's files to NAME.files. It restarts the system before, since
# files in use are removed then, and once more to save the registry.
look() {
    restart
    restart
    list_keys "$WINEPREFIX"/{system,user,userdef}.reg >"$WORK/$1.keys"
    list_files >"$WORK/$1.files"
}

restart() {
    wine cmd /c exit >/dev/null 2>&1
    wineserver -k
    wineserver -w
}

# list_keys HIVE...: each key and each value as one line that begins with the key's path. The lines leave out the times
# of the last change, HKLM\System, where Wine records its devices at every start, and the keys without values in which
# Windows Installer keeps its accounts from its first use on.
list_keys() {
    awk '
        /^\[/ { key = $0; sub(/ [0-9]+$/, "", key); next }
        /^#/ || /^$/ || key == "" || key ~ /^\[System\\/ { next }
        { print FILENAME, key, $0 }
        ' "$@"
    awk '
        /^\[/ { sub(/ [0-9]+$/, ""); if ($0 !~ /^\[System\\/ && $0 !~ /\\Installer\\/) print FILENAME, $0 }
        ' "$@"
}

# list_files: leaves out the empty folder that Windows Installer keeps from its first use on, and the folder that NSIS
# asks the system to remove at the next start, which Wine doesn't.
list_files() {
    (cd "$WINEPREFIX/drive_c" && find . | grep -vE '^\./windows/Installer$|/Temp/~nsu[0-9]*\.tmp$' | sort)
}

file=$1 folder=$2
shift 2
look before
install "$file" || fail "the installation ended with $?"
for client in "$@"; do use "$folder\\$client"; done
uninstall "$file" "$folder" || fail "the removal ended with $?"
look after
same=yes
for list in keys files; do
    diff "$WORK/before.$list" "$WORK/after.$list" || same=no
done
[[ $same == yes ]] || fail "this was left behind or taken away"
printf '  uninstalled: nothing is left\n'
