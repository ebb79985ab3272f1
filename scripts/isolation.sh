# shellcheck shell=bash
# What keeps the files of a session to itself: no other session sees what it writes on drive C: or in its home folder.
# Sourced after common.sh and wine.sh. There are two ways:
#   mounts   The session has a mount namespace of its own. In it drive C: is an overlay: the lower folder is the base's,
#            the upper one is the prefix's own drive_c, which receives the session's changes and is empty before and
#            after it. What sessions share (the base, the modules, the other prefixes) is read-only.
#   copies   Where the system refuses to mount, each prefix has a copy of the whole drive. The copy is kept as long as
#            it equals the base; while no session uses it, it is PREFIX.drive.
# Every other path is the same inside as outside.

WINE_BASE=$WINE_HOME/base

# Locked shared while a session begins to use the base, and exclusively while the base is replaced.
WINE_BASE_LOCK=$WINE_HOME/base.lock

# Whether a session may mount; for tests.
ISOLATION=${KEYREAP_ISOLATION:-mounts}

# enter_namespace COMMAND...: becomes COMMAND in a mount namespace of its own; returns if the system refuses one. What
# is mounted outside is seen inside, later mounts too; what is mounted inside isn't seen outside.
enter_namespace() {
    local words
    [[ $ISOLATION != copies ]] || return 0
    for words in --mount '--user --map-current-user --keep-caps --mount'; do
        # shellcheck disable=SC2086 # several words
        ! unshare $words --propagation slave true 2>/dev/null || exec unshare $words --propagation slave "$@"
    done
}

# hold_base: the base stays in its place while descriptor 6 is open, and exists while 7 is.
hold_base() {
    [[ -f $WINE_BASE/version && -f $WINE_BASE_LOCK ]] || fail "there is no Wine prefix in $WINE_BASE"
    exec 6<"$WINE_BASE_LOCK"
    flock -s 6
    exec 7<"$WINE_BASE/version"
    flock -s 7
}

# private_drive: gives PREFIX, which is empty, a drive C:. INSIDE is `yes` in a namespace of the session's own.
private_drive() {
    if [[ $INSIDE == yes ]]; then
        mount_drive 2>/dev/null && return
        umount --lazy "$PREFIX" 2>/dev/null || true
        rm -rf "$PREFIX/overlay"
    fi
    copy_drive
}

# mount_drive: fails if the base is not the caller's, since a changed file keeps its owner.
mount_drive() {
    [[ -O $WINE_BASE/version ]] || return
    mount_prefix || return
    mkdir -m 755 "$PREFIX/drive_c" "$PREFIX/overlay" || return
    touch -r "$WINE_BASE/drive_c" "$PREFIX/drive_c"
    ln -s "$WINE_BASE/drive_c" "$PREFIX/base" || return
    (cd "$PREFIX" && mount -t overlay -o "$(overlay_options)" overlay drive_c) || return
    # May fail: it protects what drive Z: reaches, and drive C: is the session's own already.
    if mount --rbind "$WINE_HOME" "$WINE_HOME"; then mount -o remount,bind,ro "$WINE_HOME" || true; fi
}

# mount_prefix: in a box all that a session writes is in memory, of which it has only so much (PREFIX_SIZE, in megabytes).
mount_prefix() {
    if [[ -n ${PREFIX_SIZE-} ]]; then
        mount -t tmpfs -o "size=${PREFIX_SIZE}m,mode=755" keyreap "$PREFIX"
    else
        mount --bind "$PREFIX" "$PREFIX"
    fi
}

# overlay_options: the paths are relative to the prefix, since a comma or colon would split an absolute path. Nothing
# has to be flushed to the disk. In a user namespace the overlay's marks have other names, and a folder of the base
# can't be renamed as a whole.
overlay_options() {
    local marks=redirect_dir=on users
    read -r _ _ users </proc/self/uid_map
    ((users == 4294967295)) || marks=userxattr
    printf 'volatile,%s,lowerdir=base,upperdir=drive_c,workdir=overlay' "$marks"
}

# unmount_drive PREFIX: undoes mount_drive in reverse order.
unmount_drive() {
    umount --lazy "$WINE_HOME" "$1/drive_c" "$1" 2>/dev/null || true
}

# copy_drive: copies the drive again if a run left, changed or removed anything there; few do.
copy_drive() {
    local list=$PREFIX.list copy=$PREFIX.drive
    if [[ -f $list ]]; then
        restore_times "$copy" "$PREFIX.times"
        ! list_drive "$copy" | cmp -s - "$list" || { mv -T "$copy" "$PREFIX/drive_c" && return; }
    fi
    rm -rf "$list" "$copy"
    # A partial copy is of no use and would keep a full disk full.
    cp -a "$WINE_BASE/drive_c" "$copy" || { rm -rf "$copy" && return 1; }
    list_times "$copy" >"$PREFIX.times"
    list_drive "$copy" >"$list.new"
    mv "$list.new" "$list"
    mv -T "$copy" "$PREFIX/drive_c"
}

# list_drive DRIVE: prints what any change but one to the times of folders alters. For files that is the time of the
# last status change (ctime), which can't be set. A folder's ctime changes with every file that is created or removed in
# it, so all properties of folders are printed in its place.
list_drive() {
    stat -c %i "$WINE_BASE/version"
    (cd / && find "$1" ! -type d -printf '%P %y %s %m %T@ %C@ %i %l\0')
    (cd / && find "$1" -type d -print0) | sort -z | tar --create --format=posix --pax-option=delete=atime,delete=ctime --xattrs \
        --xattrs-include='*' --absolute-names --no-recursion --null --files-from=- | cksum
}

# list_times DRIVE: prints the times of its folders.
list_times() {
    (cd / && find "$1" -type d -printf '%T@ %P\0') | sort -z
}

# restore_times DRIVE TIMES: sets the times of folders, which change with every file created or removed in them.
restore_times() {
    local time folder
    [[ -d $1 ]] || return 0
    while IFS=' ' read -r -d '' time folder; do
        [[ ! -d $1/$folder ]] || touch -c -d "@$time" "$1/$folder"
    done < <(list_times "$1" | comm -z -13 - "$2")
}

# discard_session PREFIX: removes the mounts and files of a session whose processes have ended.
discard_session() {
    [[ ! -d $1/overlay ]] || unmount_drive "$1"
    clear_prefix "$1"
}

# is_empty FOLDER: also where there is none. One that can't be read may have anything.
is_empty() {
    local path
    [[ ! -d $1 || -r $1 ]] || return
    for path in "$1"/* "$1"/.[!.]* "$1"/..?*; do [[ ! -e $path && ! -L $path ]] || return; done
}

# clear_prefix PREFIX: removes all that a session left, but keeps a copy of the drive as PREFIX.drive.
clear_prefix() {
    if [[ -d $1/drive_c && ! -d $1/overlay && -f $1.list ]]; then
        rm -rf "$1.drive" "$(placed_start_recording "$1")" "$(placed_host_description "$1")"
        mv -T "$1/drive_c" "$1.drive"
    fi
    is_empty "$1" || (cd / && find "$1" -mindepth 1 -maxdepth 1 -exec rm -rf {} +)
}
