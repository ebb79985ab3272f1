#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: report.sh PROGRESS TRACES N STATE... WORD... STATUS   (wine-session.sh executes it when a run of ./keyreap ended)
# Prints the messages of a run of Keyreap.exe, which prints nothing itself, and ends with the exit status of ./keyreap.
# PROGRESS is the process that shows the progress of the run, or `none`. TRACES is `yes` if a result comes from a trace, and
# `no` otherwise. Each of the N STATEs is that of a pair before the run, the WORDs are the caller's, and STATUS is the
# program's.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
for part in wine words unplaced; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

end_progress_line "$1"
unplaced=$KEYREAP_UNPLACED
[[ $2 == yes ]] || unplaced=
# The summary for a terminal would say that the run succeeded.
reader=plain
[[ -n $unplaced || ! -t 2 ]] || reader=terminal
take_records report "$reader" "${@:3}"
[[ -z ${KEYREAP_CEILING-} ]] || fail "$KEYREAP_CEILING"
[[ -z $KEYREAP_MIXED_KEYS ]] || say "$KEYREAP_MIXED_KEYS"
[[ -z $unplaced ]] || fail "$(unplaced_sentence "$unplaced")"
exit "$OWN_STATUS"
