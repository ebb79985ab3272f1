#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/live.sh x64|x86 REQUEST.json [--classes] [OPTION...]
# Asks KeyKitLive of that bitness in a session of its own. Its answers are on standard output, and its exit status is the
# script's. No class is registered in the session, but with --classes those of a whole system are. The other options are
# those of scripts/wine-session.sh, in whose box the program runs. ./keykit has done the set-up.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
for part in build wine; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

classes=(--empty-classes) options=()
for word in "${@:3}"; do
    if [[ $word == --classes ]]; then classes=(); else options+=("$word"); fi
done
# Sessions that end at once make Wine's services crash now and then, which they say on the standard error that they inherit.
exec "$ROOT/scripts/wine-session.sh" --ready --no-display --box --see "$STAGE/bin" --input "$2" "${classes[@]}" "${options[@]}" \
    --quiet "$WINE" "$STAGE/bin/$1/KeyKitLive.exe" "Z:${2//\//\\}"
