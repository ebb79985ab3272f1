# shellcheck shell=bash
# Wine as every run finds it: its 32-bit modules and the base that prefixes are made from. Sourced after
# common.sh. All lies under build/wine:
#   modules/   the 32-bit modules, unpacked from the distribution's package
#   base/      a fresh prefix after its first start, in two trees: linked/ and copied/ (see make_base)
#   home/      the home folder of every session
#   pool/      the prefixes of the sessions (session.sh)

WINE_HOME=$BUILD/wine
WINE_MODULES=$WINE_HOME/modules
WINE_BASE=$WINE_HOME/base
WINE_USER=keyreap

# Held shared while a prefix is made from the base and exclusively while the base is replaced.
WINE_BASE_LOCK=$WINE_HOME/base.lock

# What is big and never written to by a running Wine.
WINE_MODULE_KINDS='dll|exe|ocx|ax|acm|cpl|drv|ds|sys|vxd|com|tlb|nls|msstyles'

wine_version() {
    dpkg-query -W -f '${Version}' wine64
}

# wine_environment PREFIX: prints the variables that Wine runs with, one assignment a line.
wine_environment() {
    cat <<END
WINEPREFIX=$1
WINEDLLPATH=$WINE_MODULES/usr/lib/i386-linux-gnu/wine
WINEDEBUG=-all
WINEDLLOVERRIDES=winemenubuilder.exe=d
LC_ALL=C.UTF-8
TMPDIR=/tmp
HOME=$WINE_HOME/home
USER=$WINE_USER
LOGNAME=$WINE_USER
END
}

# make_modules: the distribution's 32-bit package of exactly the installed version, with a package list of its
# own, so that the machine's architectures stay as they are.
make_modules() {
    local new=$WINE_HOME/modules.new version options
    version=$(wine_version)
    options=(-o APT::Architecture=i386 -o APT::Architectures=i386 -o APT::Sandbox::User=root
        -o Dir::State::Lists="$new/lists" -o Dir::Cache="$new/cache")
    rm -rf "$new"
    mkdir -p "$new/lists/partial" "$new/cache/archives/partial"
    cd "$new" || return
    # The list of security updates may be out of step; the main one is enough.
    apt-get -q "${options[@]}" update || true
    apt-get -q "${options[@]}" download "libwine:i386=$version"
    dpkg-deb -x libwine_*_i386.deb "$new/tree"
    printf '%s\n' "$version" >"$new/tree/version"
    rm -rf "$WINE_MODULES"
    mv -T "$new/tree" "$WINE_MODULES"
    rm -rf "$new"
}

modules_ready() {
    [[ -f $WINE_MODULES/version && $(<"$WINE_MODULES/version") == "$(wine_version)" ]]
}

# make_base: starts a fresh prefix for the first time and splits it in two. The files of linked/ are shared
# by all prefixes as hard links; those of copied/ (the hives, settings, the users' folders) are a prefix's own.
make_base() {
    local new=$WINE_HOME/base.new
    end_prefix "$new/prefix"
    rm -rf "$new"
    mkdir -p "$new/prefix" "$new/classless" "$WINE_HOME/home"
    first_start "$new/prefix"
    rm -f "$new/prefix/wineserver"
    split_prefix "$new/prefix" "$new/linked" "$new/copied"
    drop_classes <"$new/copied/system.reg" >"$new/classless/system.reg"
    printf '%s\n' "$(wine_version)" >"$new/version"
    publish_base "$new"
}

# first_start PREFIX: creates it, runs a program of each bitness in it, and lets the server write the hives.
first_start() {
    local environment
    mapfile -t environment < <(wine_environment "$1")
    # An inherited lock would be held by Wine's services for as long as they live.
    exec 9>&-
    in_wine() { clean_environment "${environment[@]}" "$@"; }
    in_wine timeout -k 10 300 wineboot --init
    in_wine timeout -k 10 120 wine 'C:\windows\system32\cmd.exe' /c exit
    in_wine timeout -k 10 120 wine 'C:\windows\syswow64\cmd.exe' /c exit
    in_wine wineserver -k
    in_wine timeout 60 wineserver -w
    [[ -f $1/system.reg && -f $1/user.reg && -f $1/userdef.reg && -d $1/drive_c/windows/syswow64 ]]
}

# split_prefix PREFIX LINKED COPIED
split_prefix() {
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
    [[ -f $WINE_BASE/version && $(<"$WINE_BASE/version") == "$(wine_version)" ]] && base_untouched
}

base_untouched() {
    [[ -z $(find "$WINE_BASE/linked" -type f -newer "$WINE_BASE/version" -print -quit) ]]
}

# end_prefix PREFIX: ends every process that belongs to the prefix, and takes away what its server leaves in
# the temporary directory. Nothing is saved: a prefix is made anew for the next run.
end_prefix() {
    local pids name round
    for ((round = 0; round < 500; round++)); do
        mapfile -t pids < <(prefix_processes "$1")
        ((${#pids[@]} > 0)) || break
        kill -KILL "${pids[@]}" 2>/dev/null || true
        sleep 0.01
    done
    [[ -f $1/wineserver ]] || return 0
    name=$(<"$1/wineserver")
    [[ $name != wine-?????? ]] || rm -rf "/tmp/$name"
}

# prefix_processes PREFIX: the numbers of the processes that were started with WINEPREFIX=PREFIX. Wine hands
# its own variables on to every process, even to one that was started with others.
prefix_processes() {
    local pid
    # A process that has ended and waits to be reaped shows no environment.
    grep -lzxF "WINEPREFIX=$1" /proc/[0-9]*/environ 2>/dev/null |
        while IFS=/ read -r _ _ pid _; do printf '%s\n' "$pid"; done
}
