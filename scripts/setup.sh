# shellcheck shell=bash
# Installs, builds and makes what a run needs, if it is missing or out of date. Sourced after common.sh; sources the
# other parts.
#
# A level (wine, run, package, examples, bench, fuzz, test) has a stamp that is as old as the beginning of its last
# complete set-up. It is up to date if nothing that it was made from has changed since. What counts is the time of any
# change to a file or folder (ctime), which copying or unpacking can't set back.

# shellcheck source=scripts/packages.sh
source "$ROOT/scripts/packages.sh"
# shellcheck source=scripts/wine.sh
source "$ROOT/scripts/wine.sh"
# shellcheck source=scripts/requests.sh
source "$ROOT/scripts/requests.sh"
# shellcheck source=scripts/observer.sh
source "$ROOT/scripts/observer.sh"
# shellcheck source=scripts/checks.sh
source "$ROOT/scripts/checks.sh"
# shellcheck source=scripts/isolation.sh
source "$ROOT/scripts/isolation.sh"
# shellcheck source=scripts/startup.sh
source "$ROOT/scripts/startup.sh"
# shellcheck source=scripts/session.sh
source "$ROOT/scripts/session.sh"
# shellcheck source=scripts/base.sh
source "$ROOT/scripts/base.sh"
# shellcheck source=scripts/build.sh
source "$ROOT/scripts/build.sh"

STAMPS=$BUILD/stamps

# set_up LEVEL: returns at once if all is up to date. Only one set-up runs at a time; what a killed one left half-done,
# the next one makes again.
set_up() {
    up_to_date "$1" && return
    mkdir -p "$STAMPS" 2>/dev/null || fail "cannot write to $BUILD"
    { exec 9>"$BUILD/setup.lock"; } 2>/dev/null || fail "cannot write to $BUILD"
    if ! flock -n 9; then
        say "waiting for another set-up to end"
        flock 9
    fi
    up_to_date "$1" || make_level "$1"
    exec 9>&-
}

up_to_date() {
    local stamp=$STAMPS/$1
    # The tests, the measurements and the fuzzers always run the builds, which know what is out of date.
    [[ $1 != @(test|bench|fuzz) ]] || return
    [[ -f $stamp && $(<"$stamp") == "$ROOT" ]] && level_there "$1" && nothing_newer "$1" "$stamp"
}

# nothing_newer LEVEL STAMP
nothing_newer() {
    local sources
    mapfile -d '' -t sources < <(level_sources "$1")
    [[ -z $(find "${sources[@]}" -cnewer "$2" -print -quit) ]]
}

# level_there LEVEL: what was made still exists.
level_there() {
    [[ $1 == package ]] || wine_there || return
    [[ $1 == @(wine|package) ]] || start_recorded || return
    [[ $1 == wine ]] || program_there
}

wine_there() {
    [[ -d $WINE_MODULES/usr && -f $WINE_BASE/version ]] && filter_there && observer_there && check_there && base_untouched
}

# level_sources LEVEL: prints the files and folders that it is made from, each ended by a NUL.
level_sources() {
    printf '%s\0' /var/lib/dpkg/status "$ROOT/scripts" "${REQUEST_FILTER_FOLDERS[@]}" "$OBSERVER_SOURCES" \
        "${CAPTURE_CHECK_SOURCES[@]}"
    [[ $1 == wine ]] || printf '%s\0' "${START_RECORDER_SOURCES[@]}"
    [[ $1 == wine ]] || program_sources
}

make_level() {
    local stamp=$STAMPS/$1
    printf '%s\n' "$ROOT" >"$stamp.new"
    case $1 in
    wine)
        install_packages "${WINE_PACKAGES[@]}"
        make_wine
        ;;
    run)
        install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}"
        make_wine
        make_program
        ;;
    package)
        install_packages "${BUILD_PACKAGES[@]}" python3
        make_program
        ;;
    examples)
        install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${EXAMPLE_PACKAGES[@]}"
        make_wine
        make_program
        ;;
    bench)
        install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
        make_wine
        make_program
        make_bench
        ;;
    fuzz)
        install_packages "${BUILD_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"
        make_fuzzers
        ;;
    test)
        install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${EXAMPLE_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
        make_wine
        make_everything
        ;;
    esac
    [[ $1 == @(wine|package|fuzz) ]] || record_start
    mv "$stamp.new" "$stamp"
}

make_wine() {
    modules_ready || step wine-modules "unpacking Wine's 32-bit modules" make_modules
    filter_ready || step request-filter "building the filter of requests" make_filter
    observer_ready || step observer "building the observer of crashes" make_observer
    check_ready || step capture-check "building the check of words and files" make_check
    base_ready || step wine-base "making the Wine prefix" make_base
}
