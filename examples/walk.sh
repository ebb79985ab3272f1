#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: examples/walk.sh
# Walks the road from a COM server's source to an installed server, on this machine: builds the examples in both
# bitnesses, captures what they register, builds the installers, and tries each in a fresh Wine prefix of its own:
# install, use, uninstall. Ends with 0 if the client got its answers and nothing was left behind. All that is built
# is in build/examples. The examples of the Debian package are captured with the installed command, and what is built
# is in the user's cache (~/.cache/keyreap/installed/examples).
set -euo pipefail
SOURCES=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
scripts=$SOURCES/../scripts
[[ -d $scripts ]] || scripts=/usr/lib/keyreap/scripts
# shellcheck source=scripts/common.sh
source "$scripts/common.sh"
for part in setup paths; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

EXAMPLES=$USER_DATA/examples

CMAKE_FILES=$ROOT/cmake
[[ ! -f $ROOT/prebuilt ]] || CMAKE_FILES=$ROOT/../cmake/Keyreap

# build_bitness NAME TARGET: the servers, what they register, and the packages for Windows Installer.
build_bitness() {
    clean_environment cmake -S "$SOURCES" -B "$EXAMPLES/$1" -G Ninja -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_TOOLCHAIN_FILE="$CMAKE_FILES/mingw.cmake" -D KEYREAP_TARGET="$2"
    clean_environment ninja -C "$EXAMPLES/$1"
}

# build_setup: one installer of both bitnesses.
build_setup() {
    clean_environment makensis -V2 -NOCD -DX64="$EXAMPLES/x64" -DX86="$EXAMPLES/x86" \
        -DOUTPUT="$EXAMPLES/keyreap-examples.exe" "$SOURCES/installer/example.nsi"
}

# try_installer FILE FOLDER CLIENT...: begins to try FILE, which is in the folder of the examples and installs to
# FOLDER.
try_installer() {
    local file=$EXAMPLES/$1
    say "trying $1"
    shift
    # A command that a shell starts in the background would not get an interrupt.
    env --default-signal=INT,QUIT "$ROOT/scripts/wine-session.sh" --ready --no-display \
        "$SOURCES/try-installer.sh" "$(windows_path "$file")" "$@" >"$file.tried" &
    TRIALS+=("$!") TRIED+=("$file")
}

# report_trials: waits for all trials, and prints their results. Returns 1 if one failed.
report_trials() {
    local number result=0
    for number in "${!TRIALS[@]}"; do
        wait "${TRIALS[$number]}" || result=1
        printf '%s\n' "${TRIED[$number]#"$EXAMPLES/"}"
        cat "${TRIED[$number]}.tried"
    done
    return "$result"
}

set_up examples
set_up keykit
step example-x64 "building the examples, x64" build_bitness x64 x86_64
step example-x86 "building the examples, x86" build_bitness x86 i686
step example-setup "building their installer" build_setup

TRIALS=() TRIED=()
try_installer keyreap-examples.exe 'C:\Program Files\Keyreap examples' 'x64\client.exe' 'x86\client.exe'
try_installer x64/keyreap-examples.msi 'C:\Program Files\Keyreap examples x64' client.exe
try_installer x86/keyreap-examples.msi 'C:\Program Files (x86)\Keyreap examples x86' client.exe
try_installer x64/keyreap-examples-fragments.msi 'C:\Program Files\Keyreap examples x64' client.exe
try_installer x86/keyreap-examples-fragments.msi 'C:\Program Files (x86)\Keyreap examples x86' client.exe
report_trials
