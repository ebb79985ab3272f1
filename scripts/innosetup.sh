# shellcheck shell=bash
# The compiler of Inno Setup, a program for Windows, as a package of npm has it. Only tests need it. Sourced after setup.sh.

INNO_VERSION=6.4.1
INNO_HASH=061fdd365cb216c14a046a137f5f67d66b0f9e6e0d8df6f4096562af0d82575312257632d1a8d123ec63a3f62bf43b5914b2da7e19f09b566cc53bb7d3d17c95
INNO_FOLDER=$BUILD/innosetup

set_up_innosetup() {
    innosetup_there && return
    lock_set_up
    innosetup_there || step innosetup "fetching the compiler of Inno Setup, 7 MB" fetch_innosetup
    exec 9>&-
}

innosetup_there() {
    [[ -f $INNO_FOLDER/hash && $(<"$INNO_FOLDER/hash") == "$INNO_HASH" ]]
}

# fetch_innosetup: an archive with another content is refused.
fetch_innosetup() {
    local new=$INNO_FOLDER.new archive=$INNO_FOLDER.new/innosetup-$INNO_VERSION.tgz
    command -v npm >/dev/null || install_packages npm
    rm -rf "$new" "$INNO_FOLDER"
    mkdir "$new"
    npm pack --silent --pack-destination "$new" "innosetup@$INNO_VERSION"
    sha512sum --check --quiet <<<"$INNO_HASH  $archive"
    tar -xzf "$archive" -C "$new" --no-same-owner --strip-components=1 package/bin package/LICENSE
    rm "$archive"
    printf '%s\n' "$INNO_HASH" >"$new/hash"
    mv "$new" "$INNO_FOLDER"
}
