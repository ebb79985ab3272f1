#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/deb.sh [DEB]
# Builds what is out of date and makes the Debian package: DEB, or build/keyreap_VERSION_amd64.deb. The same commit gives
# the same bytes. Prints the package's path.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"
# shellcheck source=scripts/layout.sh
source "$ROOT/scripts/layout.sh"
# shellcheck source=scripts/debpackage.sh
source "$ROOT/scripts/debpackage.sh"

check_changelog
set_up package
deb=$(realpath -m -- "${1:-$BUILD/keyreap_$(project_version)_amd64.deb}")
step deb "packing the Debian package" make_deb "$deb.new"
mv "$deb.new" "$deb"
printf '%s\n' "$deb"
