#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/live.sh x64|x86 REQUEST.json
# Asks KeyKitLive of that bitness in a session of its own, in whose registry no class is registered. Its answers are on
# standard output, and its exit status is the script's. ./keykit has done the set-up.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
for part in build wine; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

exec "$ROOT/scripts/wine-session.sh" --ready --no-display --empty-classes \
    "$WINE" "$STAGE/bin/$1/KeyKitLive.exe" "Z:${2//\//\\}"
