# shellcheck shell=bash
# The Debian package: which files it has, and how it is packed. Sourced after common.sh, build.sh, layout.sh and
# tools.sh.

PACKAGING=$ROOT/packaging

# The scripts that an installed `keyreap` and the examples' walk.sh source or run.
INSTALLED_SCRIPTS=(base box boxend build captures common explain host identity isolation live mixedkeys notes options packages
    paths probe probed reasons report requests session session-keeper setup startup tools unplaced wine wine-session words)

# lay_out_package FOLDER
lay_out_package() {
    local command
    rm -rf "$1"
    mkdir -p "$1/usr/bin"
    lay_out_program "$1/usr/lib/keyreap"
    for command in keyreap keykit; do ln -s "../lib/keyreap/$command" "$1/usr/bin/$command"; done
    lay_out_cmake "$1/usr/lib/cmake/Keyreap"
    lay_out_share "$1/usr/share"
    set_modes "$1"
    lay_out_control "$1"
    # The archive has the times of the files.
    find "$1" -exec touch -h -d "@$(package_time)" {} +
}

# lay_out_program FOLDER: FOLDER is to an installed ./keyreap what a checkout is to others.
lay_out_program() {
    local name
    mkdir -p "$1/scripts" "$1/stage" "$1/tools"
    printf '%s\n' "$(project_version)" >"$1/prebuilt"
    cp "$ROOT/keyreap" "$ROOT/keykit" "$1"
    for name in "${INSTALLED_SCRIPTS[@]}"; do cp "$ROOT/scripts/$name.sh" "$1/scripts"; done
    cp -r "$STAGE"/{bin,samples,tools} "$1/stage"
    # The package has the one of its own machine.
    rm -f "$1/stage/bin/x64/KeyKit.exe"
    for name in "${NATIVE_TOOLS[@]}" keykit; do
        strip --remove-section=.comment -o "$1/tools/$name" "$BUILD/tools/$name"
    done
}

# lay_out_share FOLDER: documents, manual page, and what silences lintian where it is wrong.
lay_out_share() {
    local doc=$1/doc/keyreap page
    lay_out_documents "$doc"
    lay_out_copyright >"$doc/copyright"
    # README.md has a link to it.
    ln -s copyright "$doc/LICENSE"
    gzip -9n <"$PACKAGING/changelog" >"$doc/changelog.gz"
    mkdir -p "$1/man/man1" "$1/lintian/overrides"
    for page in keyreap keykit; do
        fill_in "$PACKAGING/$page.1.in" | gzip -9n >"$1/man/man1/$page.1.gz"
    done
    cp "$PACKAGING/lintian-overrides" "$1/lintian/overrides/keyreap"
}

# lay_out_copyright: prints the file with the text of LICENSE as its fields. In a field an empty line is a dot.
lay_out_copyright() {
    local holder text
    holder=$(sed -n 's/^Copyright (c) /Copyright: /p' "$ROOT/LICENSE")
    text=$(sed -e '1,/^Copyright/d' -e 's/^$/./' -e 's/^/ /' "$ROOT/LICENSE" | sed 1d)
    sed -e "s/@COPYRIGHT@/$holder/" -e "/@LICENSE@/{r /dev/stdin" -e 'd}' "$PACKAGING/copyright.in" <<<"$text"
}

# lay_out_control FOLDER
lay_out_control() {
    local control=$1/DEBIAN size
    size=$(find "$1" -printf '%y %s\n' | awk '{ sum += $1 == "f" ? int(($2 + 1023) / 1024) : 1 } END { print sum }')
    mkdir -m 00755 "$control"
    fill_in "$PACKAGING/control.in" | sed "s/@SIZE@/$size/" >"$control/control"
    (cd "$1" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$control/md5sums"
    chmod 644 "$control"/*
}

# set_modes FOLDER: those of a package, whatever the modes of the checkout and of the folders around it are. A mode of
# five digits also takes an inherited set-group-ID from a folder. Commands are the native programs and the scripts that
# name their interpreter.
set_modes() {
    local file start
    find "$1" -type d -exec chmod 00755 {} +
    find "$1" -type f -exec chmod 644 {} +
    chmod 755 "$1"/usr/lib/keyreap/tools/*
    while IFS= read -r -d '' file; do
        IFS= read -r -N 2 start <"$file" || true
        [[ $start != '#!' ]] || chmod 755 "$file"
    done < <(find "$1" -type f -print0)
}

# check_changelog: fails unless the changelog begins with the project's version.
check_changelog() {
    local newest
    newest=$(sed -n '1s/^keyreap (\(.*\)) .*/\1/p' "$PACKAGING/changelog")
    [[ $newest == "$(project_version)" ]] ||
        fail "packaging/changelog begins with version ${newest:-?}, and CMakeLists.txt has $(project_version)"
}

# make_deb FILE: what is packed is laid out beside it, so that several packages can be made at once.
make_deb() {
    local folder=$1.folder
    umask 022
    lay_out_package "$folder"
    # More than one thread would cut the data at other places.
    SOURCE_DATE_EPOCH=$(package_time) dpkg-deb -Zxz --threads-max=1 --root-owner-group --build "$folder" "$1"
    rm -rf "$folder"
}
