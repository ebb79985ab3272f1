#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/package.sh [ZIP]
# Builds what is out of date and makes the zip that a Windows user unpacks: ZIP, or build/keyreap-VERSION.zip. The same
# commit gives the same bytes. Prints the zip's path.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"
# shellcheck source=scripts/layout.sh
source "$ROOT/scripts/layout.sh"

# lay_out FOLDER: what a user gets, and the checksum of each file of it.
lay_out() {
    rm -rf "$1"
    mkdir -p "$1"
    cp -r "$STAGE/bin" "$1/bin"
    cp "$ROOT/LICENSE" "$1"
    lay_out_documents "$1"
    lay_out_cmake "$1/cmake"
    "$ROOT/scripts/selfcheck.py" "$ROOT" "$1/selfcheck"
    (cd "$1" && find . -type f -printf '%P\0' | sort -z | xargs -0 sha256sum) >"$1.sums"
    mv "$1.sums" "$1/SHA256SUMS"
}

# make_selfcheck: builds what the release checks itself with on Windows.
make_selfcheck() {
    local preset
    [[ $USER_DATA == "$BUILD" ]] || return 0
    lock_set_up
    for preset in x64 x86; do build_step "$preset" "3 to 6 minutes" selfcheck_programs; done
    exec 9>&-
}

set_up package
make_selfcheck
zip=$(realpath -m -- "${1:-$BUILD/keyreap-$(project_version).zip}")
lay_out "$BUILD/package.new"
"$ROOT/scripts/makezip.py" "$zip.new" "$(package_time)" Keyreap "$BUILD/package.new"
mv "$zip.new" "$zip"
rm -rf "$BUILD/package.new"
printf '%s\n' "$zip"
