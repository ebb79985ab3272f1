# shellcheck shell=bash
# Installs, builds and makes what a run needs, if it is missing or out of date. Sourced after common.sh; sources the
# other parts.
#
# A level (wine, run, keykit, live, explain, package, examples, bench, fuzz, test, compilers) has a stamp that is as old as
# the beginning of its last complete set-up. It is up to date if nothing that it was made from has changed since. What counts is the
# time of any change to a file or folder (ctime), which copying or unpacking can't set back, and the versions of the
# packages that were used.

for part in packages tools wine requests isolation startup host session base build probe; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

STAMPS=$USER_DATA/stamps
PACKAGE_LIST=/var/lib/dpkg/status

# set_up LEVEL: returns at once if all is up to date. Only one set-up runs at a time; what a killed one left half-done,
# the next one makes again.
set_up() {
    local mask
    up_to_date "$1" && return
    # Other users run what is built, and must not change it.
    mask=$(umask)
    umask 022
    lock_set_up
    up_to_date "$1" || make_level "$1"
    exec 9>&-
    umask "$mask"
}

# lock_set_up: holds descriptor 9.
lock_set_up() {
    make_user_data
    { exec 9>"$USER_DATA/setup.lock"; } 2>/dev/null || fail "cannot write to $USER_DATA"
    if ! flock -n 9; then
        say "waiting for another set-up to end"
        flock 9
    fi
}

# make_user_data: the caller's own folder can't be read by others.
make_user_data() {
    if [[ $USER_DATA == "$BUILD" ]]; then
        mkdir -p "$STAMPS" 2>/dev/null || fail "cannot write to $BUILD"
    else
        (umask 077 && mkdir -p "$STAMPS") 2>/dev/null ||
            fail "cannot write to $USER_DATA; XDG_CACHE_HOME can name another folder for caches"
        [[ -O $USER_DATA ]] || fail "$USER_DATA belongs to another user"
        chmod 700 "$USER_DATA"
    fi
}

up_to_date() {
    local stamp=$STAMPS/$1
    # The tests, the measurements and the fuzzers always run the builds, which know what is out of date.
    [[ $1 != @(test|compilers|bench|fuzz) ]] || return
    [[ -f $stamp && $(<"$stamp") == "$ROOT" ]] && level_there "$1" && nothing_newer "$1" "$stamp" && same_packages "$1"
}

# nothing_newer LEVEL STAMP. As everywhere, find(1) needs a current folder that it can come back to.
nothing_newer() {
    local sources
    mapfile -d '' -t sources < <(level_sources "$1")
    [[ -z $(cd / && find "${sources[@]}" -cnewer "$2" -print -quit) ]]
}

# same_packages LEVEL: asks for versions only if the list of all packages has changed since they were asked for. Several
# runs may do so at once.
same_packages() {
    # The time of a change may be some milliseconds early.
    local record=$STAMPS/$1.packages asked=$((EPOCHSECONDS - 1))
    [[ -f $record ]] || return
    [[ -n $(cd / && find "$PACKAGE_LIST" -newercm "$record") ]] || return 0
    [[ $(used_packages "$1") == "$(<"$record")" ]] && touch -d "@$asked" "$record"
}

# used_packages LEVEL: what the level was made with, a package with its version a line.
used_packages() {
    [[ $1 == @(package|keykit) ]] || wine_packages
    [[ -f $ROOT/prebuilt ]] || native_toolchain
    [[ -f $ROOT/prebuilt || $1 == @(wine|keykit) ]] || cross_toolchain
    [[ -f $ROOT/prebuilt || $1 != @(keykit|live|package) ]] || versions_of "${HEADER_PACKAGES[@]}"
}

# level_there LEVEL: what was made still exists.
level_there() {
    [[ $1 != @(keykit|package) ]] || tool_there keykit || return
    [[ $1 != keykit ]] || return 0
    [[ $1 == package ]] || wine_there || return
    [[ $1 == @(wine|live|package) ]] || { start_recorded && host_probed; } || return
    [[ $1 != @(live|package) ]] || live_there || return
    [[ $1 != @(explain|package) ]] || explain_there || return
    [[ $1 == @(wine|live) ]] || program_there
}

wine_there() {
    [[ -d $WINE_MODULES/usr && -f $WINE_BASE/version ]] && tools_there && base_untouched "$WINE_BASE"
}

# level_sources LEVEL: prints the files and folders that it is made from, each ended by a NUL.
level_sources() {
    local tool folders
    if [[ -f $ROOT/prebuilt ]]; then
        printf '%s\0' "$ROOT"
        return
    fi
    printf '%s\0' "$ROOT/scripts"
    if [[ $1 == keykit ]]; then
        keykit_sources
        return
    fi
    for tool in "${NATIVE_TOOLS[@]}"; do
        mapfile -t folders < <(tool_folders "$tool")
        printf '%s\0' "${folders[@]}"
    done
    [[ $1 != @(live|explain|package) ]] || printf '%s\0' "$ROOT/kit"
    [[ $1 == wine ]] || program_sources
}

make_level() {
    local stamp=$STAMPS/$1
    printf '%s\n' "$ROOT" >"$stamp.new"
    level_packages "$1"
    used_packages "$1" >"$stamp.packages.new"
    case $1 in
    fuzz) make_fuzzers ;;
    compilers) make_compilers ;;
    keykit) make_keykit ;;
    package)
        make_tools
        make_program
        make_windows_keykit
        make_keykit
        ;;
    wine | live)
        make_tools
        make_wine
        [[ $1 == wine ]] || make_live
        ;;
    *)
        make_tools
        make_wine
        if [[ $1 == test ]]; then make_everything; else make_program; fi
        [[ $1 != bench ]] || make_bench
        [[ $1 != explain ]] || make_explain
        record_start
        probe_host
        # ./keyreap and `keykit explain` say so themselves, for each run that they refuse.
        [[ $1 == @(run|explain) ]] || ! host_unknown || say "$(unknown_host_text)"
        ;;
    esac
    mv "$stamp.packages.new" "$stamp.packages"
    mv "$stamp.new" "$stamp"
}

# level_packages LEVEL: installs what the level needs.
level_packages() {
    local needed=()
    [[ $1 == @(package|fuzz|keykit) ]] || needed+=("${WINE_PACKAGES[@]}")
    if [[ ! -f $ROOT/prebuilt ]]; then
        needed+=("${TOOL_PACKAGES[@]}")
        case $1 in
        wine) ;;
        keykit) needed+=("${KEYKIT_PACKAGES[@]}") ;;
        *) needed+=("${BUILD_PACKAGES[@]}") ;;
        esac
    fi
    case $1 in
    live) [[ -f $ROOT/prebuilt ]] || needed+=("${HEADER_PACKAGES[@]}") ;;
    package) needed+=(python3 "${HEADER_PACKAGES[@]}") ;;
    examples)
        [[ ! -f $ROOT/prebuilt ]] || needed+=("${BUILD_PACKAGES[@]}")
        needed+=("${EXAMPLE_PACKAGES[@]}")
        ;;
    bench) needed+=("${TEST_PACKAGES[@]}") ;;
    fuzz) needed+=("${FUZZ_PACKAGES[@]}") ;;
    test) needed+=("${EXAMPLE_PACKAGES[@]}" "${HEADER_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${BROWSER_PACKAGES[@]}") ;;
    compilers) needed+=("${EXAMPLE_PACKAGES[@]}" "${HEADER_PACKAGES[@]}" "${TEST_PACKAGES[@]}") ;;
    esac
    install_packages "${needed[@]}"
}

# make_wine: the modules of another user are not replaced.
make_wine() {
    modules_ready || WINE_MODULES=$WINE_HOME/modules
    check_wine_folders
    modules_ready || step wine-modules "unpacking Wine's 32-bit modules, after a download of 100 MB" make_modules
    base_ready || step wine-base "making the Wine prefix, which takes some 15 seconds" make_base
}

# check_wine_folders: Wine separates folders by colons, and a session reads its variables line by line.
check_wine_folders() {
    [[ $WINE_MODULES != *:* && $WINE_HOME != *$'\n'* ]] ||
        fail "$WINE_HOME has a colon or a line break in its path, which Wine's variables can't have"
}
