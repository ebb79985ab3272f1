#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/tidy.sh [FILE...]
# Runs clang-tidy with the checks of .clang-tidy over these C++ sources, or over those of the program, its tools, its
# measurements and its tests; one process a core. A source that doesn't compile for this machine is checked as code for
# 64-bit Windows. Each finding is printed once. The exit status is 0 only if there is none. A full run takes about an
# hour on two cores.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/packages.sh
source "$ROOT/scripts/packages.sh"

# These need definitions or headers that only their builds have.
LEFT_OUT=(':!examples' ':!tests/samples' ':!tests/scripts' ':!tests/native/sample_test.cpp'
    ':!tests/support/keptcounters.cpp' ':!tests/unit/regmodel/goldenfiles.cpp')

LIBRARIES=/usr/src/googletest
FLAGS=(-std=c++20 -I "$ROOT" -isystem "$LIBRARIES/googletest/include" -isystem "$LIBRARIES/googlemock/include")

# The definitions are those of cmake/options.cmake. Clang finds MinGW's headers of C, but not those of C++.
windows_flags() {
    local headers
    headers=$(x86_64-w64-mingw32-g++-posix -print-file-name=include)/c++
    printf '%s\n' --target=x86_64-w64-mingw32 -isystem "$headers" -isystem "$headers/x86_64-w64-mingw32" \
        -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN -D_WIN32_WINNT=0x0601 -DWINVER=0x0601
}

# check FILE: prints the findings at once, so that those of two processes don't mix.
check() {
    local windows findings status=0
    findings=$(clang-tidy --quiet "$1" -- "${FLAGS[@]}" 2>/dev/null) || status=$?
    if [[ $findings == *'[clang-diagnostic-error]'* ]]; then
        status=0
        mapfile -t windows < <(windows_flags)
        findings=$(clang-tidy --quiet "$1" -- "${FLAGS[@]}" "${windows[@]}" 2>/dev/null) || status=$?
    fi
    [[ -z $findings ]] || printf '%s\n' "$findings"
    ((status == 0)) || say "clang-tidy: $1 fails"
    return "$status"
}

# A finding in a header comes with every source that includes it.
each_once() {
    awk '/^[^ ]+:[0-9]+:[0-9]+: (warning|error): / { shown = !seen[$0]++ } shown { print; fflush() }'
}

if [[ ${1-} == --one ]]; then
    check "$2"
    exit
fi

SHOW_LOGS=yes
install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${HEADER_PACKAGES[@]}" "${TIDY_PACKAGES[@]}"
if (($# == 0)); then
    cd "$ROOT"
    mapfile -d '' FILES < <(git -c safe.directory='*' ls-files -z -- '*.cpp' "${LEFT_OUT[@]}")
    set -- "${FILES[@]}"
fi
printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" "$ROOT/scripts/tidy.sh" --one | each_once
