# shellcheck shell=bash
# Whether the request log of this host's Wine can be relied on: a trial captures known files in every mode. It is stored
# with the base, so that later starts only look at its result:
#   unknown   why traces can't be relied on, as a piece of a sentence; empty if they can
#   version   what the trial was made with
# Sourced after requests.sh, startup.sh and build.sh.

PROBE=$WINE_HOME/probe

# probe_host: where there is no trial, or one with other programs, or one that found the host unknown.
probe_host() {
    host_probed && ! host_unknown && [[ $(<"$PROBE/version") == "$(probe_version)" ]] && return
    step host-probe "trying the modes with this Wine" make_probe
}

host_probed() {
    [[ -f $PROBE/unknown && -f $PROBE/version ]]
}

# host_unknown: also for a moment while another process replaces the result.
host_unknown() {
    [[ ! -f $PROBE/unknown || -s $PROBE/unknown ]]
}

# require_known_host: fails unless traces can be relied on. A host that was found unknown is tried again first, since what
# was wrong may have passed, such as a full disk. Never call it in a condition: a trial that failed would be ignored there.
require_known_host() {
    host_unknown || return 0
    lock_set_up
    record_start
    probe_host
    exec 9>&-
    ! host_unknown || fail "$(unknown_host_text)"
}

# unknown_host_text: prints why a run that traces can't be relied on.
unknown_host_text() {
    printf '%s: %s' "what a trace records with this Wine can't be relied on" \
        "$(<"$PROBE/unknown"); the mode keyRedir works, but not for programs; see docs/hosts.md"
}

# probe_version: of all that a trace depends on, with the Wine that the base was made with.
probe_version() {
    {
        printf '%s\n' "$WINESERVER"
        cat "$START_VERSION" "$START_RECORDING" "$REQUEST_FILTER" "$STAGE"/bin/x{64,86}/Keyreap.exe \
            "$STAGE"/samples/x{64,86}/thermometer.dll "$STAGE"/tools/x{64,86}/explain.exe "$ROOT"/scripts/probe{,d}.sh
    } | cksum
}

# make_probe: one session captures the files, and probed.sh prints what is wrong. Of two reasons the later one, a line of
# the log, says more. A session that can't begin is a reason too: the server may report otherwise that it is up.
make_probe() {
    local new=$PROBE.new found
    rm -rf "$new"
    mkdir -p "$new"
    probe_version >"$new/version"
    found=$(clean_environment KEYREAP_WINESERVER="${KEYREAP_WINESERVER-}" KEYREAP_SANDBOX="${KEYREAP_SANDBOX-}" \
        "$ROOT/scripts/wine-session.sh" --ready --no-display --requests --box --scripts --then 2 "$ROOT/scripts/probed.sh" log "$ROOT/scripts/probed.sh" captures) ||
        found="a session with a request log can't be started"
    [[ -n $found || -s $START_RECORDING ]] || found="how it starts programs can't be recorded"
    printf '%s' "${found##*$'\n'}" >"$new/unknown"
    cat "$new/unknown"
    rm -rf "$PROBE"
    mv -T "$new" "$PROBE"
}
