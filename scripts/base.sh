# shellcheck shell=bash
# The base that every prefix of the pool is made from. Sourced after session.sh.

WINE_BASE=$WINE_HOME/base

# Held shared while a prefix is made from the base and exclusively while the base is replaced.
WINE_BASE_LOCK=$WINE_HOME/base.lock

# Files of drive C: that are big and that a running Wine never writes to.
WINE_MODULE_KINDS='dll|exe|ocx|ax|acm|cpl|drv|ds|sys|vxd|com|tlb|nls|msstyles'

# make_base: starts a fresh prefix for the first time and takes it to pieces:
#   linked/    of drive C: the modules, which all prefixes share as hard links
#   copied/    of drive C: everything else, of which each prefix has a copy
#   top/       what lies beside drive C: the three hives, the drives, the time of the last update
#   classless/ the hive system.reg without any registered class
#   version    what it was made from and with, written last
make_base() {
    local new=$WINE_HOME/base.new
    PREFIX=$new/prefix
    end_prefix "$PREFIX"
    rm -rf "$new"
    mkdir -p "$PREFIX" "$new/classless"
    first_start
    split_drive "$PREFIX/drive_c" "$new/linked" "$new/copied"
    mv -T "$PREFIX" "$new/top"
    drop_classes <"$new/top/system.reg" >"$new/classless/system.reg"
    base_version >"$new/version"
    publish_base "$new"
}

# first_start: creates PREFIX, runs a program of each bitness in it, and lets the server write the hives. The
# caller's variables play no part.
first_start() {
    # shellcheck disable=SC2034 # run_in_session reads it
    INHERITED=(-i PATH="$STANDARD_PATH")
    start_keeper
    run_in_session timeout -k 10 300 "$WINE" wineboot --init
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\system32\cmd.exe' /c exit
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\syswow64\cmd.exe' /c exit
    # The default user's hive has it on Windows, and is more than what a server may write and a trace take away: with
    # its request log on, Wine's server falls when it is to save a hive whose last key was deleted.
    run_in_session timeout -k 10 120 "$WINE" 'C:\windows\system32\reg.exe' add 'HKU\.DEFAULT\Environment' /f
    run_in_session "$WINESERVER" -k
    run_in_session timeout 60 "$WINESERVER" -w
    end_session
    [[ -f $PREFIX/system.reg && -f $PREFIX/user.reg && -f $PREFIX/userdef.reg && -d $PREFIX/drive_c/windows/syswow64 ]]
}

# split_drive DRIVE LINKED COPIED
split_drive() {
    cp -al "$1" "$2"
    mv -T "$1" "$3"
    find "$2" -regextype posix-extended -type f ! -iregex ".*\.($WINE_MODULE_KINDS)" -delete
    find "$2" -type l -delete
    find "$3" -regextype posix-extended -type f -iregex ".*\.($WINE_MODULE_KINDS)" -delete
}

# drop_classes: a system hive without the sections of Software\Classes and what lies below it.
drop_classes() {
    awk 'BEGIN { keep = 1 } /^\[/ { keep = tolower($0) !~ /^\[software\\\\classes(\\\\|\])/ } keep'
}

publish_base() {
    (
        flock 8
        rm -rf "$WINE_BASE.old"
        [[ ! -d $WINE_BASE ]] || mv -T "$WINE_BASE" "$WINE_BASE.old"
        mv -T "$1" "$WINE_BASE"
        rm -rf "$WINE_BASE.old"
    ) 8>"$WINE_BASE_LOCK"
}

# base_ready: it is of this Wine, and no run wrote into a module that all prefixes share.
base_ready() {
    [[ -f $WINE_BASE/version && $(<"$WINE_BASE/version") == "$(base_version)" ]] && base_untouched
}

base_version() {
    printf '%s, base.sh %s\n' "$(wine_version)" "$(cksum <"$ROOT/scripts/base.sh")"
}

base_untouched() {
    [[ -z $(find "$WINE_BASE/linked" -type f \( -newer "$WINE_BASE/version" -o ! -perm -u=w \) -print -quit) ]]
}
