#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/package.sh [ZIP]
# Builds what is out of date and makes the zip that a Windows user unpacks: ZIP, or build/keyreap-VERSION.zip. The same
# commit gives the same bytes. Prints the zip's path.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"

# package_time: the time of the commit, since the files have the time of their checkout.
package_time() {
    git -c safe.directory='*' -C "$ROOT" log -1 --format=%ct 2>/dev/null || echo 315532800
}

# lay_out FOLDER: what a user gets, and the checksum of each file of it.
lay_out() {
    rm -rf "$1"
    mkdir -p "$1"
    cp -r "$STAGE/bin" "$1/bin"
    cp -r "$ROOT/README.md" "$ROOT/LICENSE" "$ROOT/docs" "$ROOT/examples" "$1"
    mkdir "$1/cmake"
    cp "$ROOT"/cmake/{Keyreap,KeyreapCapture,mingw,typelibrary}.cmake "$ROOT/cmake/oaidl.idl" "$1/cmake"
    (cd "$1" && find . -type f -printf '%P\0' | sort -z | xargs -0 sha256sum) >"$1.sums"
    mv "$1.sums" "$1/SHA256SUMS"
}

set_up package
zip=$(realpath -m -- "${1:-$BUILD/keyreap-$(project_version).zip}")
lay_out "$BUILD/package.new"
"$ROOT/scripts/makezip.py" "$zip.new" "$(package_time)" Keyreap "$BUILD/package.new"
mv "$zip.new" "$zip"
rm -rf "$BUILD/package.new"
printf '%s\n' "$zip"
