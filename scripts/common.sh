# shellcheck shell=bash
# What every script of the project starts with. Sourced, never run:
#   self=$(readlink -f -- "${BASH_SOURCE[0]}")
#   source "${self%/*}/scripts/common.sh"
# Gives ROOT, BUILD and USER_DATA, the messages, and a known language and standard streams.

# Scripts compare bytes and Wine reads names as UTF-8, whatever the caller's language is.
export LC_ALL=C.UTF-8

# Otherwise the next file that a script opens would get the descriptor of a stream that the caller closed.
[[ -e /proc/$$/fd/0 ]] || exec 0</dev/null
[[ -e /proc/$$/fd/1 ]] || exec 1>/dev/null
[[ -e /proc/$$/fd/2 ]] || exec 2>/dev/null

STANDARD_PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
PATH=${PATH:+$PATH:}$STANDARD_PATH

ROOT=${BASH_SOURCE[0]}
# The folder of a script that has found itself is a real path.
[[ -n ${self-} && $ROOT == "${self%/*}"/* && $ROOT != */../* && ! -L $ROOT && ! -L ${ROOT%/*} ]] || ROOT=$(readlink -f -- "$ROOT")
ROOT=${ROOT%/*/*}
# What is built. An installation, which the file `prebuilt` marks, has it beside the scripts.
BUILD=$ROOT/build
[[ ! -f $ROOT/prebuilt ]] || BUILD=$ROOT

# owns_build: the caller made the build folder, or may make it.
owns_build() {
    [[ ! -f $ROOT/prebuilt ]] || return
    if [[ -e $BUILD ]]; then [[ -O $BUILD && -w $BUILD ]]; else [[ -w $ROOT ]]; fi
}

# cache_folder: prints the folder of this checkout or installation in the caller's cache.
cache_folder() {
    local cache=${XDG_CACHE_HOME-} home=${HOME-} name=installed
    [[ $home == /* ]] || home=$(getent passwd "$EUID" | cut -d: -f6)
    [[ $cache == /* ]] || cache=$home/.cache
    [[ -f $ROOT/prebuilt ]] || name=checkout-$(cksum <<<"$ROOT" | tr ' ' -)
    printf '%s/keyreap/%s' "$cache" "$name"
}

# What the caller's runs make and keep: Wine's files (wine.sh), stamps, logs. Another user than the one who built has a
# copy of their own.
USER_DATA=$BUILD
owns_build || USER_DATA=$(cache_folder)
LOGS=$USER_DATA/logs

# The status of a script that failed itself. The program has all other statuses.
SETUP_FAILED=125

say() {
    printf 'keyreap: %s\n' "$*" >&2
}

fail() {
    say "$*"
    exit "$SETUP_FAILED"
}

# step NAME TEXT COMMAND...: prints one line of progress; COMMAND's output goes to the log NAME, and a failure ends the
# script with the log's path. After a comma the TEXT of a long step says how long it takes. Never call it in a condition: a
# failure inside COMMAND would be ignored there.
step() {
    local name=$1 text=$2 status
    shift 2
    say "$text"
    mkdir -p "$LOGS"
    : >"$LOGS/$name.log"
    start_progress "$LOGS/$name.log"
    set +e
    (set -e && "$@") >"$LOGS/$name.log" 2>&1 </dev/null
    status=$?
    set -e
    stop_progress
    ((status != 0)) || return 0
    [[ -z ${SHOW_LOGS-} ]] || tail -n 60 "$LOGS/$name.log" >&2
    fail "${text%%,*} failed; see $LOGS/$name.log"
}

# start_progress LOG: at a terminal, shows the last line of the growing log until stop_progress or the end of the
# script. A line too long for the terminal is cut.
start_progress() {
    PROGRESS=
    [[ -t 2 ]] || return 0
    while kill -0 $$ 2>/dev/null && sleep 0.3; do
        printf '\e[?7l\r\e[K  %s\e[?7h' "$(tail -n 1 "$1" | tr -d '\000-\037')" >&2
    done 8>&- 9>&- </dev/null &
    PROGRESS=$!
}

stop_progress() {
    [[ -n $PROGRESS ]] || return 0
    kill "$PROGRESS" 2>/dev/null || true
    { wait "$PROGRESS" || true; } 2>/dev/null
    printf '\r\e[K' >&2
}

# clean_environment COMMAND...: runs COMMAND without the caller's variables, on which no build may depend. A script of
# the project that COMMAND runs finds the same folder in the caller's cache.
clean_environment() {
    local cache=()
    [[ $USER_DATA == "$BUILD" ]] || cache=(XDG_CACHE_HOME="${USER_DATA%/keyreap/*}")
    env -i PATH="$STANDARD_PATH" LC_ALL=C.UTF-8 HOME="${HOME:-/}" "${cache[@]}" "$@"
}
