# shellcheck shell=bash
# The names that a session's programs see of their user and of their computer, where they aren't the usual ones. Sourced
# after common.sh and wine.sh; be_user needs isolation.sh, too.

# check_user NAME: a folder and texts of the hives get this name, too.
check_user() {
    [[ $1 =~ ^[A-Za-z0-9]([A-Za-z0-9._\ -]{0,18}[A-Za-z0-9_-])?$ ]] ||
        fail "--user is '$1', and has to be a name of at most 20 letters, digits and signs"
}

# check_computer NAME: what fits a computer's name in a network of Windows.
check_computer() {
    [[ $1 =~ ^[A-Za-z0-9]([A-Za-z0-9-]{0,13}[A-Za-z0-9])?$ ]] ||
        fail "--computer is '$1', and has to be a name of at most 15 letters, digits and hyphens"
}

# enter_computer NAME COMMAND...: becomes COMMAND where the computer has this name; nothing else of the system sees it.
# Returns if the computer is called so already.
enter_computer() {
    local words name=$1
    [[ $(uname -n) != "$name" ]] || return 0
    for words in --uts '--user --map-current-user --keep-caps --uts'; do
        # shellcheck disable=SC2016,SC2086 # the inner shell expands the words; several words
        ! unshare $words hostname "$name" 2>/dev/null ||
            exec unshare $words /bin/sh -c 'hostname "$0" && exec "$@"' "$name" "${@:2}"
    done
    fail "this system doesn't let a session have a name of its own for the computer (--computer)"
}

# be_user NAME: the prefix has the files of this user, where those of the usual one were. They are the session's own.
be_user() {
    local own=$WINE_USER
    [[ $1 != "$own" ]] || return 0
    mv -T "$PREFIX/drive_c/users/$own" "$PREFIX/drive_c/users/$1"
    sed -i -e "s/\\(\\\\\\\\users\\\\\\\\\\)$own\\([\"\\\\]\\)/\\1$1\\2/g" -e "s/^\"USERNAME\"=\"$own\"$/\"USERNAME\"=\"$1\"/" \
        "$PREFIX"/{system,user,userdef}.reg
}
