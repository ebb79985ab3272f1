# shellcheck shell=bash
# Wine as every run uses it: its variables, its 32-bit modules, the end of its processes. Sourced after
# common.sh. All of it is in WINE_HOME:
#   modules/   the 32-bit modules, unpacked from the distribution's package
#   base/      what prefixes are made from (base.sh)
#   start/     how Wine starts programs (startup.sh)
#   probe/     whether traces can be relied on (probe.sh)
#   pool/      the prefixes of the sessions (session.sh)

WINE_HOME=$USER_DATA/wine
# What the owner of the build has. Other users read it.
SHARED_WINE=$BUILD/wine
WINE_MODULES=$WINE_HOME/modules
[[ -d $WINE_MODULES || ! -d $SHARED_WINE/modules ]] || WINE_MODULES=$SHARED_WINE/modules
WINE_MODULES_FOLDER=usr/lib/i386-linux-gnu/wine
WINE_USER=keyreap

# What Wine would start with each session although no capture needs it: a log of events that no function of Wine's writes or
# reads, notices of devices that come and go, and the drivers of input devices, which devices below Enum\ROOT\WINE bring.
# A program can still start them.
# shellcheck disable=SC2034 # base.sh and session.sh read them
IDLE_SERVICES=(Eventlog PlugPlay) IDLE_DEVICES=(WINEBUS WINEUSB WINEBTH)

# Where a mirror is being renewed, its signature and its list of 32-bit packages may not fit for days, and no package of the
# list can be had. These are the SHA-256 of the packages of 32-bit modules as signed lists have had them, by version.
declare -gA KNOWN_MODULES=(
    [8.0~repack-4]=c992aad6a47d81b719514f5d06c5df10267f1e40a6f4f3b4e3f655cbbf308d57
    [10.0~repack-6]=fef4802a6553a17eaa40003333a86fc697440d1d21c5824f2dbd1c444f01527b
)

# The distribution's, whatever the caller's PATH is. Tests put something between the server and its log.
# shellcheck disable=SC2034 # the scripts that run programs name them
WINE=/usr/bin/wine WINESERVER=${KEYREAP_WINESERVER:-/usr/bin/wineserver}

# Drops the rights that an ordinary user has in a namespace of its own, such as the right to ignore the modes of files.
# The session's scripts have them; its programs, and the server that opens files for them, don't.
RIGHTLESS=()
# shellcheck disable=SC2034 # the scripts that start programs name it
((EUID == 0)) || RIGHTLESS=(setpriv --ambient-caps=-all --inh-caps=-all)

wine_version() {
    dpkg-query -W -f '${Version}' wine64
}

# wine_environment PREFIX: prints the variables that Wine runs with, one assignment a line. A Wine that can also draw on
# Wayland complains of a missing XDG_RUNTIME_DIR.
wine_environment() {
    printf '%s\n' "WINEPREFIX=$1" "WINEDLLPATH=$WINE_MODULES/$WINE_MODULES_FOLDER" WINEDEBUG=-all \
        WINEDLLOVERRIDES=winemenubuilder.exe=d LC_ALL=C.UTF-8 "HOME=$1/home" "XDG_RUNTIME_DIR=$1/home" "USER=$WINE_USER" \
        "LOGNAME=$WINE_USER"
}

# make_modules: unpacks the distribution's 32-bit package of exactly the installed version. It uses a package list of
# its own, so that the machine's architectures stay as they are. No 32-bit library is needed: a 32-bit module finds the
# Unix part of Wine in the folder x86_64-unix beside its own, which leads to the installed one. An interrupted download
# is continued.
make_modules() {
    local new=$WINE_HOME/modules.new version options
    version=$(wine_version)
    options=("${SIGNED_ONLY[@]}" -o APT::Architecture=i386 -o APT::Architectures=i386 -o APT::Sandbox::User=root
        -o Dir::State::Lists="$new/lists" -o Dir::Cache="$new/cache")
    mkdir -p "$new/lists/partial" "$new/cache/archives/partial"
    cd "$new" || return
    rm -rf tree
    # The list of security updates may be out of date; the main one is enough.
    apt-get -q "${options[@]}" update || true
    apt-get -q "${options[@]}" download "libwine:i386=$version" || fetch_known_modules "$version" "${options[@]}"
    dpkg-deb -x "libwine_${version//:/%3a}_i386.deb" tree
    ln -s /usr/lib/x86_64-linux-gnu/wine/x86_64-unix "tree/$WINE_MODULES_FOLDER/x86_64-unix"
    printf '%s\n' "$version" >tree/version
    rm -rf "$WINE_MODULES"
    mv -T tree "$WINE_MODULES"
    rm -rf "$new"
}

# fetch_known_modules VERSION OPTION...: fetches a known package from the pool of one of the machine's package sources, into
# the current folder. Fails where it is not known, is nowhere, or has another content.
fetch_known_modules() {
    local file=libwine_$1_i386.deb hash=${KNOWN_MODULES[$1]:-} options=("${@:2}") site
    [[ -n $hash ]] || return
    while read -r site; do
        /usr/lib/apt/apt-helper "${options[@]}" download-file "${site%/}/pool/main/w/wine/$file" "$file" "SHA256:$hash" </dev/null &&
            return
    done < <(apt-get -q "${options[@]}" --print-uris update | sed -nE "s|^'([^']+)/dists/[^']+/InRelease' .*|\1|p" | sort -u | mirrors)
    return 1
}

# mirrors: replaces each file of mirrors in the input by the mirrors that it names, the first words of its lines.
mirrors() {
    local site
    while read -r site; do
        case $site in
        mirror+file:*) sed -nE 's/^[[:blank:]]*([^#[:blank:]]+).*/\1/p' "${site#mirror+file:}" ;;
        *) printf '%s\n' "$site" ;;
        esac
    done
}

modules_ready() {
    [[ -f $WINE_MODULES/version && $(<"$WINE_MODULES/version") == "$(wine_version)" ]]
}

# end_prefix PREFIX: kills every process that belongs to the prefix, and removes what its server leaves in the temporary
# directory. Nothing is saved: the prefix is renewed for the next run.
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
    rm -f "$1/wineserver"
    [[ ! $name =~ ^wine-[A-Za-z0-9]{6}$ ]] || rm -rf "/tmp/$name"
}

# prefix_processes PREFIX: prints the numbers of the processes that were started with WINEPREFIX=PREFIX. Wine passes its
# own variables on to every process, even to one that was started with others. A container's processes, which may
# have a prefix at the same path, are left out.
prefix_processes() {
    local pid thread
    # A process that has ended and waits to be reaped has no environment. Neither has one whose first thread alone has
    # ended, but its other threads have.
    grep -lzxF "WINEPREFIX=$1" /proc/[0-9]*/task/[0-9]*/environ 2>/dev/null |
        while IFS=/ read -r _ _ pid _ thread _; do
            [[ ! /proc/$pid/task/$thread/ns/pid -ef /proc/self/ns/pid ]] || printf '%s\n' "$pid"
        done | sort -u
}
