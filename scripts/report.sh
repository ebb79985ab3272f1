#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: report.sh PROGRESS N STATE... WORD... STATUS   (wine-session.sh executes it when a run of ./keyreap has ended)
# Prints the messages of a run of Keyreap.exe, which prints nothing itself, and ends with the exit status of ./keyreap.
# PROGRESS is the process that shows the progress of the run, or `none`. Each of the N STATEs is that of a pair before
# the run, the WORDs are the caller's, and STATUS is the program's.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
# shellcheck source=scripts/words.sh
source "$ROOT/scripts/words.sh"

end_progress_line "$1"
reader=plain
[[ ! -t 2 ]] || reader=terminal
take_records report "$reader" "${@:2}"
[[ -z $KEYREAP_MIXED_KEYS ]] || say "$KEYREAP_MIXED_KEYS"
exit "$OWN_STATUS"
