#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage, inside a session: scripts/observed.sh LOG COMMAND [ARGUMENT...]
# Runs COMMAND, returns its status, and passes its standard error on. LOG, a file of this machine, then says
# what crashed and where ("access violation (0xC0000005) in server.dll"), or is empty if nothing did.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
(($# > 1)) || fail "observed.sh: no command"
exec "$BUILD/tools/observer" "$@"
