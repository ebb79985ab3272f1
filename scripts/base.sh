# shellcheck shell=bash
# The base that every prefix of the pool is made from. Sourced after isolation.sh and session.sh.

# make_base: copies the one of the owner of the build where that is usable, since a session can only change what belongs
# to its user.
make_base() {
    if [[ $SHARED_WINE != "$WINE_HOME" && -r $SHARED_WINE/base.lock ]] && base_is_ready "$SHARED_WINE/base"; then
        copy_shared_base
    else
        create_base
    fi
}

# copy_shared_base: the copy is the caller's, also that by root. The version is written last, as base_untouched needs it.
copy_shared_base() {
    local new=$WINE_HOME/base.new
    rm -rf "$new"
    mkdir -p "$WINE_HOME"
    flock -s "$SHARED_WINE/base.lock" cp -a --no-preserve=ownership --reflink=auto "$SHARED_WINE/base" "$new"
    rm "$new/version"
    base_version >"$new/version"
    publish_base "$new"
}

# create_base: starts a fresh prefix for the first time and splits it into its parts:
#   drive_c/   drive C:, which nobody writes to any more
#   top/       what is beside drive C: the three hives, the drives, the time of the last update
#   classless/ the hive system.reg without any registered class
#   version    what it was made from and with, written last
create_base() {
    local new=$WINE_HOME/base.new
    PREFIX=$new/prefix
    end_prefix "$PREFIX"
    rm -rf "$new"
    mkdir -p "$PREFIX" "$new/classless"
    first_start
    mv -T "$PREFIX/drive_c" "$new/drive_c"
    mv -T "$PREFIX" "$new/top"
    drop_classes <"$new/top/system.reg" >"$new/classless/system.reg"
    base_version >"$new/version"
    publish_base "$new"
}

# first_start: creates PREFIX, runs a program of each bitness in it, and lets the server write the hives. The
# caller's variables are not passed on.
first_start() {
    # shellcheck disable=SC2034 # run_in_session reads it
    INHERITED=(-i PATH="$STANDARD_PATH")
    start_keeper
    run_in_session timeout -k 10 300 "$WINE" wineboot --init
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\system32\cmd.exe' /c exit
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\syswow64\cmd.exe' /c exit
    # On Windows the default user's hive has this key. Here it also keeps the hive from becoming empty when a trace
    # removes what a COM server wrote: with its request log on, Wine's server crashes when it saves a hive whose last
    # key was deleted.
    use_registry add 'HKU\.DEFAULT\Environment' /f
    set_up_windows
    set_up_services
    run_in_session "$WINESERVER" -k
    run_in_session timeout 60 "$WINESERVER" -w
    end_session
    [[ -f $PREFIX/system.reg && -f $PREFIX/user.reg && -f $PREFIX/userdef.reg && -d $PREFIX/drive_c/windows/syswow64 ]]
}

# set_up_windows: settings for sessions with a display.
set_up_windows() {
    # This Wine can't draw the windows of a 32-bit program on a 64-bit host: they would be black and still wait for
    # input. Without the driver such a program finds no display.
    set_text 'HKCU\Software\Wine\DllOverrides' 'C:\windows\syswow64\winex11.drv' ''
    # Only Windows has the error dialog's font; this one is monospaced too.
    set_text 'HKCU\Software\Wine\Fonts\Replacements' 'Courier New' 'DejaVu Sans Mono'
}

# set_up_services: not every Wine has all the devices.
set_up_services() {
    local service device key
    for service in "${IDLE_SERVICES[@]}"; do
        set_value "HKLM\\System\\CurrentControlSet\\Services\\$service" Start REG_DWORD 3
    done
    for device in "${IDLE_DEVICES[@]}"; do
        key=HKLM\\System\\CurrentControlSet\\Enum\\ROOT\\WINE\\$device
        ! use_registry query "$key" /v Service || set_value "$key" Service REG_SZ ''
    done
}

# set_text KEY NAME TEXT
set_text() {
    set_value "$1" "$2" REG_SZ "$3"
}

# set_value KEY NAME TYPE DATA: a value in the base's registry.
set_value() {
    use_registry add "$1" /v "$2" /t "$3" /d "$4" /f
}

# use_registry WORD...: what reg.exe does with these words.
use_registry() {
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\system32\reg.exe' "$@"
}

# drop_classes: copies a system hive without the sections of Software\Classes and below.
drop_classes() {
    awk 'BEGIN { keep = 1 } /^\[/ { keep = tolower($0) !~ /^\[software\\\\classes(\\\\|\])/ } keep'
}

# publish_base NEW: makes NEW the base. Sessions that use the old base keep it.
publish_base() {
    (
        flock 8
        [[ ! -d $WINE_BASE ]] || mv -T "$WINE_BASE" "$WINE_BASE.old.$$"
        mv -T "$1" "$WINE_BASE"
        # Copies of an older base.
        rm -rf "$WINE_HOME"/pool/*.{drive,list,times}
    ) 8>"$WINE_BASE_LOCK"
    remove_old_bases
}

# remove_old_bases: those that no session uses any more.
remove_old_bases() {
    local old
    for old in "$WINE_BASE".old.*; do
        [[ -d $old ]] || continue
        if [[ ! -f $old/version ]] || flock -xn "$old/version" true; then rm -rf "$old"; fi
    done
}

# base_ready: it was made with this Wine, and nobody has written to it.
base_ready() {
    base_is_ready "$WINE_BASE"
}

# base_is_ready FOLDER
base_is_ready() {
    [[ -f $1/version && $(<"$1/version") == "$(base_version)" ]] && base_untouched "$1"
}

base_version() {
    printf '%s, base.sh %s\n' "$(wine_version)" "$(cat "$ROOT/scripts/base.sh" - <<<"${IDLE_SERVICES[*]} ${IDLE_DEVICES[*]}" | cksum)"
}

# base_untouched FOLDER: compares the times of the last status change (ctime), which can't be set.
base_untouched() {
    [[ -d $1/drive_c ]] || return
    [[ -z $(cd / && find "$1"/{drive_c,top,classless} -cnewer "$1/version" -print -quit) ]]
}
